# The extension module and, beside it, its stub package: <build>/python is what PYTHONPATH points to in development.

set(bindings Utils/ZRMTools/python_bindings)
zrm_glob(module_sources ${bindings}/*.cpp)
if(NOT module_sources)
    return()
endif()

# The library facade_math holds these.
list(FILTER module_sources EXCLUDE REGEX "${bindings}/compute/")

# NO_EXTRAS: neither link-time optimization nor stripping, so the wheel and the tested build hold the same code.
pybind11_add_module(pyzrm_313 MODULE NO_EXTRAS ${module_sources})
target_link_libraries(pyzrm_313 PRIVATE facade_math zrvfs zrm_flags)
# Hidden visibility does not reach what the standard library's headers instantiate here; the linker script does.
set(exports "${CMAKE_CURRENT_LIST_DIR}/exports.map")
target_link_options(pyzrm_313 PRIVATE "-Wl,--version-script=${exports}")
set_target_properties(pyzrm_313 PROPERTIES LINK_DEPENDS "${exports}")
set_target_properties(pyzrm_313 PROPERTIES LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/python")

set(stubs "${PROJECT_SOURCE_DIR}/${bindings}/stubs/pyzrm_313-stubs")
file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/python")
file(CREATE_LINK "${stubs}" "${PROJECT_BINARY_DIR}/python/pyzrm_313-stubs" SYMBOLIC)

install(TARGETS pyzrm_313 LIBRARY DESTINATION . COMPONENT python)
install(DIRECTORY "${stubs}" DESTINATION . COMPONENT python OPTIONAL)
