#include <zr/log/Log.h>

#include "bind/Binder.h"
#include "inc/Services.h"

namespace pyzrm
{
void bindStartAndStop(py::module_& m)
{
    m.def("init", &init, "Initialization of plugin.");
    m.def("deinit", &deinit, "Deinitialization of plugin.");
}

void bindLog(py::module_& m)
{
    const auto bind = [&m](const char* name, const char* text, zr::u32 level)
    { m.def(name, [level](std::string_view message) { logText(level, message); }, text); };
    bind("log_error", "Writes error message to log.", zr::log::kError);
    bind("log_info", "Writes info message to log.", zr::log::kInfo);
    bind("log_warning", "Writes warning message to log.", zr::log::kWarning);
    bind("log_debug", "Writes debug message to log.", zr::log::kDebug);
}
} // namespace pyzrm
