# What a build needs, brought in when it is missing: system packages, Python 3.13 and its environment, parallel-hashmap.
# Sourced by ./dev in the project's root; `setup` is the entry. Every step costs next to nothing when nothing changed.

venv=build/venv
deps=build/deps
phmap_package=libparallel-hashmap-dev
packages=(g++ cmake ninja-build ccache libmeshoptimizer-dev libfmt-dev libstb-dev libconcurrentqueue-dev
    libboost-container-dev libboost-stacktrace-dev libzstd-dev zlib1g-dev libopenscenegraph-dev libgtest-dev
    libbenchmark-dev)

die() {
    printf '%s\n' "$@" >&2
    exit 1
}

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; else sudo -n "$@"; fi
}

can_be_root() {
    [ "$(id -u)" = 0 ] || sudo -n true 2> /dev/null
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
    can_be_root || die "These packages are missing, and neither root nor sudo is at hand to install them:" \
        "  ${missing[*]}" "As root: apt-get update && apt-get install --no-install-recommends ${missing[*]}"
    echo "installing: ${missing[*]}"
    as_root apt-get -q update > /dev/null
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300 install -y \
        --no-install-recommends "${missing[@]}" > /dev/null
}

is_debian() {
    command -v dpkg-query > /dev/null && command -v apt-get > /dev/null
}

# True where the system's own release has a package of parallel-hashmap.
release_has_phmap() {
    local VERSION_ID=
    . /etc/os-release
    [ "${VERSION_ID%%.*}" != 12 ]
}

setup_packages() {
    is_debian || { echo "no Debian system: CMake will name the libraries it misses"; return; }
    if release_has_phmap; then packages+=("$phmap_package"); fi
    need_packages "${packages[@]}"
}

# Debian 12 has no package of this header-only library. The next release's fits any release, being nothing but headers; it is
# fetched with a source list and state folder of its own, so that the system's apt never hears of that release. Its index is
# signed, and apt checks it against the keys the system already trusts.
setup_phmap() {
    if release_has_phmap || ! is_debian || [ -e "$deps/usr/include/parallel_hashmap/phmap.h" ]; then return; fi
    local apt=$PWD/$deps/apt mirror
    mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' | grep -v security | head -n 1)
    [ -n "$mirror" ] || die "No Debian mirror among the system's apt sources to take $phmap_package from."
    echo "fetching: $phmap_package"
    mkdir -p "$apt"/{sources,lists/partial,cache/archives/partial}
    echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror trixie main" > "$apt/sources/next.list"
    local options=(-q -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$apt/sources"
        -o Dir::State::Lists="$apt/lists" -o Dir::Cache="$apt/cache" -o Acquire::Languages=none -o APT::Sandbox::User=root)
    apt-get "${options[@]}" update > /dev/null
    (cd "$apt" && apt-get "${options[@]}" download "$phmap_package" > /dev/null)
    dpkg-deb -x "$apt/$phmap_package"_*.deb "$deps"
    rm -r "$apt"
}

# True when $1 is a Python 3.13 that can build an extension (headers) and an environment (venv with pip).
is_usable_python() {
    [ -n "$1" ] && "$1" - << 'PROGRAM' > /dev/null 2>&1
import ensurepip, os, sys, sysconfig, venv
header = os.path.join(sysconfig.get_path("include"), "Python.h")
sys.exit(not (sys.version_info[:2] == (3, 13) and os.path.exists(header) and not sysconfig.get_config_var("Py_GIL_DISABLED")))
PROGRAM
}

release_has_python() {
    is_debian || return 1
    if can_be_root; then as_root apt-get -q update > /dev/null; fi
    apt-cache show python3.13-dev > /dev/null 2>&1
}

# Sets `python` to the first usable one of: $PYTHON, the path, pyenv, the system package, uv.
find_python() {
    local candidate
    for candidate in "${PYTHON:-}" python3.13 "${PYENV_ROOT:-$HOME/.pyenv}"/versions/3.13*/bin/python; do
        if is_usable_python "$candidate"; then python=$candidate; return; fi
    done
    python=/usr/bin/python3.13
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

# The stamp tells what the environment was made from; while that stays the same, no Python is started at all.
setup_venv() {
    local wanted stamp=$venv/made-from
    wanted="$(cksum < requirements-dev.txt) ${PYTHON:-}"
    if [ -x "$venv/bin/python" ] && [ "$(cat "$stamp" 2> /dev/null)" = "$wanted" ]; then return; fi
    local python
    find_python
    echo "creating: $venv with $("$python" --version) and $(grep -c == requirements-dev.txt) packages"
    rm -rf "$venv"
    "$python" -m venv "$venv"
    "$venv/bin/python" -m pip install -q --disable-pip-version-check -r requirements-dev.txt
    # mypy looks for stub packages in site-packages only; the link shows it the sources.
    ln -s "$PWD/Utils/ZRMTools/python_bindings/stubs/pyzrm_313-stubs" "$venv"/lib/python3.13/site-packages/
    echo "$wanted" > "$stamp"
}

setup() {
    setup_packages
    setup_phmap
    setup_venv
}
