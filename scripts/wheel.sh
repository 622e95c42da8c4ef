#!/usr/bin/env bash
# Builds the wheel that is given away, and tries it where nothing of ours is installed.
#   scripts/wheel.sh         build/wheelhouse/*.whl: the shared libraries that it needs are in it, repaired in by auditwheel
#   scripts/wheel.sh test    also in roots of Debian 12 and 13 that have Python 3.13 and nothing else; as root
# Its baseline is glibc 2.35 with the libstdc++ of g++ 12: what a build on Debian 12 gives runs there, on 13 and on Ubuntu 24.04.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/.."

python=$PWD/build/venv/bin/python
house=build/wheelhouse
roots=build/roots
limit=4000000 # bytes
model=${ZRM_MODELS:-../shared/models}/CesiumMilkTruck.glb # tried where it is at hand
pip=("$python" -m pip -q --disable-pip-version-check)

build_wheel() {
    rm -rf build/wheel/plain $house
    "${pip[@]}" wheel . --no-deps --no-build-isolation -w build/wheel/plain -C build-dir=build/wheel/cmake \
        -C cmake.define.CMAKE_CXX_COMPILER_LAUNCHER="$(command -v ccache || true)"
    "$python" scripts/add_licenses.py build/wheel/plain/*.whl
    PATH=$PWD/build/venv/bin:$PATH "$python" -m auditwheel repair --strip -w $house build/wheel/plain/*.whl
    find $house -name '*.whl' -printf '%f: %s bytes\n'
    [ "$(stat -c %s $house/*.whl)" -lt $limit ] || { echo "larger than $limit bytes" >&2; return 1; }
}

# make_root SUITE PYTHON-PACKAGES: once; an unfinished one is made anew.
make_root() {
    [ -e "$roots/$1/finished" ] && return
    rm -rf "${roots:?}/$1"
    mkdir -p $roots
    echo "making a root of $1"
    debootstrap --variant=minbase ${2:+--include="$2"} "$1" "$roots/$1" ${DEBIAN_MIRROR:+"$DEBIAN_MIRROR"} > "$roots/$1.log"
    touch "$roots/$1/finished"
}

# Debian 12 has no Python 3.13: the root gets a copy of the one that the environment was made with, where that is no system's.
copy_python() {
    local prefix
    prefix=$("$python" -c 'import sys; print(sys.base_prefix)')
    [ "$prefix" != /usr ] || { echo "no Python 3.13 to copy into the root of Debian 12: not tried there"; return 1; }
    mkdir -p "$1/opt/python"
    tar -C "$prefix" -c --exclude test --exclude '*.a' --exclude site-packages . | tar -C "$1/opt/python" -x
}

# try_in ROOT PYTHON: the box, the inspector on it, the exporter on a real model, and the module's own files.
try_in() {
    local root=$1 program=$2
    rm -rf "$root/site" "$root/work"
    mkdir -p "$root/work"
    "${pip[@]}" install --target "$root/site" --only-binary :all: $house/*.whl
    cp examples/box.py "$root/work/"
    if [ -e "$model" ]; then cp "$model" "$root/work/model.glb"; fi
    chroot "$root" /usr/bin/env -i PATH=/usr/bin:/bin LC_ALL=C.UTF-8 PYTHONPATH=/site ${3:+PYTHONHOME="$3" LD_LIBRARY_PATH="$3/lib"} sh -euc "
        cd /work
        $program box.py box.zrm
        $program -m zrm_inspect check box.zrm
        $program -m zrm_inspect view box.zrm -o box.html
        $program -m zrm_inspect tree box.zrm
        if [ -e model.glb ]; then $program -m gltf2zrm model.glb && $program -m zrm_inspect check model.zrm; fi
        ! ls /usr/share/doc/libfmt* /usr/share/doc/libmeshoptimizer* 2> /dev/null"
    ls "$root"/site/pyzrm_313-*.dist-info/licenses/third-party
}

build_wheel
if [ "${1:-}" = test ]; then
    make_root trixie python3.13
    try_in $roots/trixie python3.13
    make_root bookworm libffi8
    if copy_python $roots/bookworm; then try_in $roots/bookworm /opt/python/bin/python3.13 /opt/python; fi
    echo "The wheel runs in bare roots of Debian 12 and 13."
fi
