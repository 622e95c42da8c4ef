# The checks behind ./dev test, asan and tsan. Sourced by ./dev in the project's root.

failed=()

# stage NAME COMMAND...: runs one check under a heading; a failure is remembered and the next check still runs.
stage() {
    local name=$1
    shift
    echo "== $name (at $SECONDS s)"
    "$@" || failed+=("$name")
}

# The last line on success is that of the last test runner.
finish_stages() {
    [ ${#failed[@]} -eq 0 ] || { echo "failed: ${failed[*]}" >&2; exit 1; }
}

cxx_sources() {
    find Projects Utils tests benchmarks fuzz \( -name '*.h' -o -name '*.cpp' \) -print0
}

check_format() {
    cxx_sources | xargs -0 "$venv/bin/clang-format" --dry-run -Werror
}

# Whatever else the module exported would meet other modules' names in the process that loads it.
check_exports() {
    local names
    names=$(nm -D --defined-only build/release/python/pyzrm_313.*.so | awk '{ print $3 }')
    [ "$names" = PyInit_pyzrm_313 ] || { printf 'exported:\n%s\n' "$names"; return 1; }
}

# Builds the wheel as pip would, installs it with our packages into an empty folder and imports them from there. Warnings
# are errors and the compiler goes by the same name as in the presets, so that ccache serves the objects of the release
# build again.
check_wheel() {
    local dir=build/wheel pip=("$venv/bin/python" -m pip -q --disable-pip-version-check)
    drop_moved $dir/cmake
    rm -rf $dir/dist $dir/site
    CXX=${CXX:-c++} "${pip[@]}" wheel . --no-deps --no-build-isolation -w $dir/dist -C build-dir=$dir/cmake \
        -C cmake.define.CMAKE_COMPILE_WARNING_AS_ERROR=ON \
        -C cmake.define.CMAKE_CXX_COMPILER_LAUNCHER="$(command -v ccache)" || return
    "${pip[@]}" install --no-deps --target $dir/site $dir/dist/*.whl || return
    [ -e $dir/site/pyzrm_313-stubs/__init__.pyi ] || { echo "the wheel has no stubs"; return 1; }
    [ -e $dir/site/pyzrm_313-*.dist-info/licenses/LICENSE ] || { echo "the wheel has no license"; return 1; }
    [ -x $dir/site/bin/gltf2zrm ] || { echo "no command gltf2zrm was installed"; return 1; }
    (cd $dir && PYTHONPATH=site "../../$venv/bin/python" -c 'import gltf2zrm.cli, pyzrm_313; print("wheel:", pyzrm_313.__file__)
assert pyzrm_313.Model().save("empty.zrm", 10) == ""' && PYTHONPATH=site "../../$venv/bin/python" -m zrm_inspect check empty.zrm &&
        PYTHONPATH=site "../../$venv/bin/python" -m zrm_inspect view empty.zrm -o empty.html)
}

# run_preloaded PRESET LIBRARY... -- ARGUMENT...: runs Python, which is not sanitized itself, with the sanitizer's runtime
# first in the process, and libstdc++ with it: its throw is intercepted.
run_preloaded() {
    local preset=$1 preload=
    shift
    while [ "$1" != -- ]; do
        preload+=$(realpath "$(c++ -print-file-name="$1")"):
        shift
    done
    shift
    LD_PRELOAD=$preload run_python "$preset" "$@"
}

# PYTHONMALLOC=malloc gives each Python object a heap block of its own, so that over-reads of them show. Leaks are looked for
# by the C++ tests alone: the interpreter leaves thousands of blocks to the end of the process.
run_python_asan() {
    PYTHONMALLOC=malloc ASAN_OPTIONS=detect_leaks=0 run_preloaded asan libasan.so libubsan.so libstdc++.so -- "$@"
}

run_python_tsan() {
    TSAN_OPTIONS="suppressions='$PWD/tests/tsan.supp'" run_preloaded tsan libtsan.so libstdc++.so -- "$@"
}

# fuzz_target TARGET SECONDS: fails with the first finding, and says how much was tried.
fuzz_target() {
    local target=$1 seconds=$2 log=build/fuzz/$1.log status=0
    mkdir -p "build/fuzz/corpus/$target"
    # A size that no heap has is refused as it would be outside of the sanitizer.
    ASAN_OPTIONS=allocator_may_return_null=1 "build/fuzz/fuzz/fuzz_$target" -max_total_time="$seconds" -print_final_stats=1 \
        -rss_limit_mb=4096 -artifact_prefix="build/fuzz/findings/$target-" "build/fuzz/corpus/$target" > "$log" 2>&1 || status=$?
    echo "$target: $(sed -n 's/^stat::number_of_executed_units: //p' "$log") executions in $seconds s"
    if [ $status -ne 0 ]; then tail -n 40 "$log"; fi
    return $status
}
