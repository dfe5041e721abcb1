#!/usr/bin/env bash
# Telvor's one entry point for developers and CI.
#
#   ./run.sh test      install missing packages, build, run the whole suite (ctest)
#   ./run.sh core      the core library alone (no format, companion or tool) and its tests
#   ./run.sh demo      build and show the telvor-nodes tool on the sample catalogue
#   ./run.sh bench     build and run the benchmarks with their summary
#   ./run.sh sanitize  the suite again, built with AddressSanitizer and UBSan (clang)
#   ./run.sh tsan      the concurrency tests under ThreadSanitizer (clang)
#   ./run.sh install-check  install into a scratch prefix and build the consumer example
#   ./run.sh fuzz SECONDS   build the fuzzers and run each for SECONDS
#   ./run.sh deps      only install the packages (deps demo: only the demo's)
#
# Environment: CXX picks the compiler for `test` (g++ by default); JOBS the build
# parallelism (the number of cores by default); BUILD_ROOT where builds go (./build).
set -euo pipefail
cd "$(dirname "$0")"

ROOT=$(pwd)
BUILD_ROOT=${BUILD_ROOT:-$ROOT/build}
JOBS=${JOBS:-$(nproc)}

# What building the library and the tool needs: all that `./run.sh demo` installs.
BUILD_PACKAGES=(cmake ninja-build pkg-config g++ libutf8proc-dev libboost-json1.81-dev
  libsimdjson-dev libcli11-dev libexpat1-dev libpugixml-dev)
# What the whole suite, the companions, benchmarks, sanitizers and fuzzers add: test
# libraries, the DICOM, web and directory peers the tests start, a TLS terminator, an
# X server for the window tests, and the optional companions' libraries.
TEST_PACKAGES=(clang-14 libclang-rt-14-dev python3 libgtest-dev libgmock-dev libbenchmark-dev
  nlohmann-json3-dev libdcmtk-dev dcmtk openssl valgrind qt6-base-dev qt6-svg-dev iproute2
  orthanc orthanc-dicomweb nginx-light libcurl4-openssl-dev slapd ldap-utils libldap-dev
  xvfb xauth)

# deps [demo]: install what is missing; with `demo`, only what building the tool needs.
deps() {
  local wanted=("${BUILD_PACKAGES[@]}")
  [ "${1:-}" = demo ] || wanted+=("${TEST_PACKAGES[@]}")
  local missing=()
  for p in "${wanted[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  if [ "$(id -u)" -ne 0 ]; then
    echo "Missing packages. Run as root, or install them with:" >&2
    echo "  sudo apt-get install -y ${missing[*]}" >&2
    exit 1
  fi
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  # Orthanc, slapd and nginx are test peers, started by the tests themselves: no system
  # service may start while they install (invoke-rc.d asks policy-rc.d; 101 is "not allowed").
  local policy=/usr/sbin/policy-rc.d had_policy=0
  [ -e "$policy" ] && had_policy=1
  [ $had_policy -eq 1 ] || { printf '#!/bin/sh\nexit 101\n' >"$policy"; chmod +x "$policy"; }
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
  [ $had_policy -eq 1 ] || rm -f "$policy"
  # Should a service have started anyway, stop it: tests run their own instances.
  local daemon
  for daemon in Orthanc slapd nginx; do
    if pgrep -x "$daemon" >/dev/null 2>&1; then
      service "${daemon,,}" stop >/dev/null 2>&1 || pkill -x "$daemon" || true
    fi
  done
}

# configure DIR [cmake args...]
configure() {
  local dir=$1; shift
  local launcher=()
  # A developer's ccache, where there is one, shares objects between work trees.
  if command -v ccache >/dev/null 2>&1; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
  cmake -S "$ROOT" -B "$dir" -G Ninja "${launcher[@]}" "$@" >/dev/null
}

build() { cmake --build "$1" --parallel "$JOBS"; }

suite() { (cd "$1" && ctest --output-on-failure --parallel "$JOBS" "${@:2}"); }

cmd_test() {
  deps
  local dir=$BUILD_ROOT/${BUILD_NAME:-default}
  configure "$dir" -DCMAKE_CXX_COMPILER="${CXX:-g++}"
  build "$dir"
  suite "$dir"
}

# The core builds and passes its tests without JSON, property lists, DCMTK or the tool.
cmd_core() {
  deps
  local dir=$BUILD_ROOT/core
  configure "$dir" -DCMAKE_CXX_COMPILER="${CXX:-g++}" -DTELVOR_BUILD_JSON=OFF -DTELVOR_BUILD_PLIST=OFF \
    -DTELVOR_BUILD_DCMTK=OFF -DTELVOR_BUILD_PEERS=OFF -DTELVOR_BUILD_QT=OFF
  build "$dir"
  suite "$dir"
}

cmd_sanitize() {
  deps
  local dir=$BUILD_ROOT/asan
  configure "$dir" -DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_BUILD_TYPE=Debug \
    -DTELVOR_SANITIZE=address,undefined
  build "$dir"
  ASAN_OPTIONS=halt_on_error=1:detect_leaks=1:abort_on_error=1 \
    UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 suite "$dir"
}

cmd_tsan() {
  deps
  local dir=$BUILD_ROOT/tsan
  # The Qt module runs no tests here; leaving it out keeps the build short.
  configure "$dir" -DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_BUILD_TYPE=Debug -DTELVOR_SANITIZE=thread \
    -DTELVOR_BUILD_QT=OFF
  build "$dir"
  # The echo deadline tests run a watchdog thread beside the association.
  TSAN_OPTIONS="halt_on_error=1 suppressions=$ROOT/tests/tsan_dcmtk.supp" suite "$dir" -R "${TSAN_TESTS:-Concurrency|Palette|TimesOut|CutOffAtTheDeadline}"
}

# Installs into a scratch prefix, checks that the installed headers stand on their own
# (no path into the source or build tree), then builds examples/consumer three ways:
# find_package(Telvor), pkg-config, and FetchContent from the sources.
cmd_install_check() {
  deps
  local dir=$BUILD_ROOT/install-check
  local prefix=$dir/prefix
  rm -rf "$prefix"
  configure "$dir/lib" -DCMAKE_INSTALL_PREFIX="$prefix" -DTELVOR_BUILD_TESTS=OFF -DTELVOR_BUILD_TOOLS=OFF
  build "$dir/lib"
  cmake --install "$dir/lib" >/dev/null
  local pcdir libdir
  pcdir=$(dirname "$(find "$prefix" -name telvor.pc)")
  libdir=$(dirname "$pcdir")

  echo "installed headers compile against the prefix alone"
  if grep -rIl -e "$ROOT/telvor" -e "$ROOT/formats" -e "$ROOT/catalogue" -e "$dir/lib" "$prefix"; then
    echo "install-check: the files above name the source or build tree" >&2
    exit 1
  fi
  (cd "$prefix/include" && find telvor -name '*.hpp' -not -path 'telvor/qt/*' | sort) |
    xargs -P "$JOBS" -I{} sh -c 'echo "#include <{}>" | '"${CXX:-g++}"' -std=c++20 -fsyntax-only \
      -Wall -Wextra -Wpedantic -Werror -I"'"$prefix"'/include" -x c++ - || { echo "  in {}" >&2; exit 255; }'
  if [ -d "$prefix/include/telvor/qt" ]; then
    local qtflags
    qtflags=$(pkg-config --cflags Qt6Core Qt6Gui Qt6Widgets | sed 's/-I/-isystem /g')
    (cd "$prefix/include" && find telvor/qt -name '*.hpp' | sort) |
      xargs -P "$JOBS" -I{} sh -c 'echo "#include <{}>" | '"${CXX:-g++}"' -std=c++20 -fsyntax-only -fPIC \
        -Wall -Wextra -Wpedantic -Werror -I"'"$prefix"'/include" '"$qtflags"' -x c++ - || { echo "  in {}" >&2; exit 255; }'
  fi

  echo "find_package(Telvor):"
  cmake -S "$ROOT/examples/consumer" -B "$dir/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
  build "$dir/consumer" >/dev/null
  LD_LIBRARY_PATH="$libdir:${LD_LIBRARY_PATH:-}" "$dir/consumer/telvor-consumer"

  echo "pkg-config telvor telvor-json telvor-plist:"
  # shellcheck disable=SC2046
  "${CXX:-g++}" -std=c++20 -o "$dir/telvor-consumer-pc" "$ROOT/examples/consumer/main.cpp" \
    $(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs telvor telvor-json telvor-plist)
  LD_LIBRARY_PATH="$libdir:${LD_LIBRARY_PATH:-}" "$dir/telvor-consumer-pc"

  if [ -d "$prefix/include/telvor/qt" ]; then
    echo "find_package(Telvor COMPONENTS qt) and pkg-config telvor-qt:"
    cmake -S "$ROOT/examples/qt_consumer" -B "$dir/qt_consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    build "$dir/qt_consumer" >/dev/null
    LD_LIBRARY_PATH="$libdir:${LD_LIBRARY_PATH:-}" QT_QPA_PLATFORM=offscreen "$dir/qt_consumer/telvor-qt-consumer"
    # shellcheck disable=SC2046
    "${CXX:-g++}" -std=c++20 -fPIC -o "$dir/telvor-qt-consumer-pc" "$ROOT/examples/qt_consumer/main.cpp" \
      $(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs telvor-qt)
    LD_LIBRARY_PATH="$libdir:${LD_LIBRARY_PATH:-}" QT_QPA_PLATFORM=offscreen "$dir/telvor-qt-consumer-pc"
  fi

  if [ -d "$prefix/include/telvor/catalogue" ]; then
    echo "find_package(Telvor COMPONENTS catalogue) and pkg-config telvor-catalogue:"
    cp "$ROOT/examples/nodes.plist" "$dir/nodes.plist"
    cmake -S "$ROOT/examples/catalogue" -B "$dir/catalogue" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    build "$dir/catalogue" >/dev/null
    LD_LIBRARY_PATH="$libdir:${LD_LIBRARY_PATH:-}" "$dir/catalogue/telvor-catalogue-example" "$dir/nodes.plist"
    # shellcheck disable=SC2046
    "${CXX:-g++}" -std=c++20 -o "$dir/telvor-catalogue-example-pc" "$ROOT/examples/catalogue/main.cpp" \
      $(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs telvor-catalogue)
    cp "$ROOT/examples/nodes.plist" "$dir/nodes.plist"
    LD_LIBRARY_PATH="$libdir:${LD_LIBRARY_PATH:-}" "$dir/telvor-catalogue-example-pc" "$dir/nodes.plist"
  fi

  echo "FetchContent (add_subdirectory):"
  cmake -S "$ROOT/examples/consumer" -B "$dir/fetch" -G Ninja -DTELVOR_SOURCE_DIR="$ROOT" >/dev/null
  build "$dir/fetch" >/dev/null
  "$dir/fetch/telvor-consumer"
}

cmd_demo() {
  deps demo
  local dir=$BUILD_ROOT/demo
  # The tool alone: no tests, companions, benchmarks or fuzzers.
  configure "$dir" -DCMAKE_CXX_COMPILER="${CXX:-g++}" -DTELVOR_BUILD_TESTS=OFF -DTELVOR_BUILD_DCMTK=OFF \
    -DTELVOR_BUILD_QT=OFF
  cmake --build "$dir" --parallel "$JOBS" --target telvor-nodes >/dev/null
  local tool=$dir/tools/telvor-nodes
  echo "\$ telvor-nodes list"
  "$tool" list
  echo
  echo "\$ telvor-nodes convert --to json examples/nodes.plist   (first node shown)"
  "$tool" convert --to json examples/nodes.plist | awk '{ print } /^  },?$/ { print "  ..."; exit }'
}

cmd_bench() {
  deps
  local dir=$BUILD_ROOT/bench
  # The tool is built too, with its probes: the benchmarks measure the peak memory of its
  # conversions and the time of its echo.
  configure "$dir" -DCMAKE_CXX_COMPILER="${CXX:-g++}" -DCMAKE_BUILD_TYPE=Release -DTELVOR_BUILD_BENCH=ON \
    -DTELVOR_BUILD_TESTS=OFF -DTELVOR_BUILD_TOOLS=ON -DTELVOR_BUILD_DCMTK=ON -DTELVOR_BUILD_QT=OFF
  build "$dir"
  "$dir/bench/telvor-bench" "$@"
}

cmd_fuzz() {
  deps
  local seconds=${1:-30}
  local dir=$BUILD_ROOT/fuzz
  configure "$dir" -DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTELVOR_BUILD_FUZZ=ON \
    -DTELVOR_BUILD_TESTS=OFF -DTELVOR_BUILD_TOOLS=OFF -DTELVOR_BUILD_DCMTK=OFF -DTELVOR_BUILD_QT=OFF \
    -DBUILD_SHARED_LIBS=OFF
  build "$dir"
  FUZZ_BUILD=$dir "$ROOT/fuzz/run.sh" "$seconds"
}

case "${1:-}" in
  test) cmd_test ;;
  core) cmd_core ;;
  demo) cmd_demo ;;
  bench) shift; cmd_bench "$@" ;;
  sanitize) cmd_sanitize ;;
  tsan) cmd_tsan ;;
  install-check) cmd_install_check ;;
  fuzz) shift; cmd_fuzz "$@" ;;
  deps) shift; deps "$@" ;;
  *) sed -n '2,16p' "$0" | sed 's/^# \{0,1\}//'; exit 2 ;;
esac
