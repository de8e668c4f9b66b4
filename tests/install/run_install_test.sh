#!/usr/bin/env bash
# Installs a built tree into a scratch prefix, then builds and runs small C and
# C++ programs against the installed copy: once through pkg-config, once
# through the CMake package (find_package(ovk)).
#
# Arguments are NAME=VALUE pairs (all required unless noted):
#   CMAKE SOURCE_DIR BUILD_DIR WORK_DIR CONSUMER_DIR GENERATOR MAKE_PROGRAM CC CXX
#   PKG_CONFIG LIBDIR INCLUDEDIR VERSION READELF
#   EXTRA_FLAGS (optional: compile and link flags the consumers need, such as
#   the sanitizer flags of a sanitized build)
#   PYTHON, PYTHON_DIR (optional: an interpreter with numpy, and the package's
#   install directory under the prefix; without PYTHON the package is not tried)
set -euo pipefail

for arg in "$@"; do
  case "$arg" in
    *=*) declare "${arg%%=*}=${arg#*=}" ;;
    *) echo "run_install_test.sh: bad argument '$arg'" >&2; exit 2 ;;
  esac
done
EXTRA_FLAGS=${EXTRA_FLAGS:-}
for v in CMAKE SOURCE_DIR BUILD_DIR WORK_DIR CONSUMER_DIR GENERATOR CC CXX LIBDIR INCLUDEDIR VERSION; do
  if [[ -z "${!v:-}" ]]; then echo "run_install_test.sh: $v not given" >&2; exit 2; fi
done

failures=0
step() { echo; echo "=== $*"; }
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }

# Checks that the program's libovkimx and libovkcore resolve into the prefix.
check_resolves_into_prefix() {
  local exe=$1 lib path
  for lib in libovkimx.so libovkcore.so; do
    path=$(env -u LD_LIBRARY_PATH ldd "$exe" | awk -v l="$lib" 'index($1, l) == 1 { print $3 }')
    case "$path" in
      "$PREFIX"/*) ;;
      *) fail "$(basename "$exe"): $lib resolves to '${path:-nothing}', not into $PREFIX" ;;
    esac
  done
}

run_program() {
  local exe=$1 out
  if out=$(env -u LD_LIBRARY_PATH "$exe" 2>&1); then
    echo "$(basename "$exe"): $out"
  else
    fail "$(basename "$exe") exited with status $?: $out"
  fi
}

rm -rf "$WORK_DIR"
mkdir -p "$WORK_DIR"
PREFIX=$WORK_DIR/prefix
PREFIX_LIB=$PREFIX/$LIBDIR
MAJOR=${VERSION%%.*}
MINOR=${VERSION#*.}; MINOR=${MINOR%%.*}

# ---------------------------------------------------------------------------
step "cmake --install $BUILD_DIR --prefix $PREFIX"
"$CMAKE" --install "$BUILD_DIR" --prefix "$PREFIX"

for f in "$INCLUDEDIR/ovk/ovkimx.h" "$INCLUDEDIR/ovk/ovkdefs.h" "$INCLUDEDIR/ovk/ovkcore.h" \
         "$INCLUDEDIR/ovk/ovki_frame.h" \
         "$LIBDIR/libovkimx.so" "$LIBDIR/libovkimx.so.$MAJOR.$MINOR" \
         "$LIBDIR/libovkcore.so" "$LIBDIR/libovkcore.so.$MAJOR.$MINOR" \
         "$LIBDIR/pkgconfig/ovk.pc" "$LIBDIR/cmake/ovk/ovkConfig.cmake" \
         "$LIBDIR/cmake/ovk/ovkConfigVersion.cmake" "$LIBDIR/cmake/ovk/ovkTargets.cmake"; do
  [[ -e "$PREFIX/$f" ]] || fail "not installed: $f"
done

# Nothing installed may point back at the build or source tree.
# (The scratch prefix itself lives in the build tree, so its own path is no leak.)
leaks=$(grep -rIF -e "$BUILD_DIR" -e "$SOURCE_DIR" "$PREFIX" 2>/dev/null |
  awk -v prefix="$PREFIX" -v build="$BUILD_DIR" -v src="$SOURCE_DIR" '{
    line = $0; out = ""
    while ((i = index(line, prefix)) > 0) { out = out substr(line, 1, i - 1); line = substr(line, i + length(prefix)) }
    out = out line
    if (index(out, build) || index(out, src)) print
  }' || true)
[[ -z "$leaks" ]] || fail "installed files name the build or source tree:"$'\n'"$leaks"
if [[ -n "${READELF:-}" ]]; then
  for lib in "$PREFIX_LIB"/libovkimx.so."$MAJOR.$MINOR" "$PREFIX_LIB"/libovkcore.so."$MAJOR.$MINOR"; do
    if "$READELF" -d "$lib" | grep -E 'R(UN)?PATH' | grep -qF "$BUILD_DIR"; then
      fail "$(basename "$lib") keeps a run path into the build tree"
    fi
  done
fi

# ---------------------------------------------------------------------------
step "pkg-config"
if [[ -z "${PKG_CONFIG:-}" || "$PKG_CONFIG" == *NOTFOUND* ]] || ! command -v "$PKG_CONFIG" >/dev/null; then
  fail "pkg-config was not found (install the pkg-config package); the pkg-config consumer cannot be checked"
else
  export PKG_CONFIG_PATH=$PREFIX_LIB/pkgconfig
  pc_version=$("$PKG_CONFIG" --modversion ovk)
  [[ "$pc_version" == "$VERSION" ]] || fail "pkg-config --modversion ovk: '$pc_version', expected '$VERSION'"
  pc_prefix=$("$PKG_CONFIG" --variable=prefix ovk)
  if [[ "$(realpath -m "$pc_prefix")" != "$(realpath -m "$PREFIX")" ]]; then
    fail "ovk.pc gives prefix '$pc_prefix', but the tree was installed into '$PREFIX'"
  fi
  read -r -a pc_cflags <<< "$("$PKG_CONFIG" --cflags ovk)"
  read -r -a pc_libs <<< "$("$PKG_CONFIG" --libs ovk)"
  echo "cflags: ${pc_cflags[*]:-}"
  echo "libs:   ${pc_libs[*]}"
  read -r -a extra <<< "$EXTRA_FLAGS"
  defs=(-DOVK_EXPECT_MAJOR="$MAJOR" -DOVK_EXPECT_MINOR="$MINOR")
  rpath=(-Wl,-rpath,"$PREFIX_LIB")

  if "$CC" -std=c99 -pedantic -Wall -Wextra -Werror "${extra[@]}" "${defs[@]}" "${pc_cflags[@]}" \
       "$CONSUMER_DIR/consumer.c" -o "$WORK_DIR/pc_consumer_c" "${pc_libs[@]}" "${rpath[@]}"; then
    check_resolves_into_prefix "$WORK_DIR/pc_consumer_c"
    run_program "$WORK_DIR/pc_consumer_c"
  else
    fail "C consumer did not build through pkg-config"
  fi
  if "$CXX" -std=c++17 -pedantic -Wall -Wextra -Werror "${extra[@]}" "${defs[@]}" "${pc_cflags[@]}" \
       "$CONSUMER_DIR/consumer.cpp" -o "$WORK_DIR/pc_consumer_cxx" "${pc_libs[@]}" "${rpath[@]}"; then
    check_resolves_into_prefix "$WORK_DIR/pc_consumer_cxx"
    run_program "$WORK_DIR/pc_consumer_cxx"
  else
    fail "C++ consumer did not build through pkg-config"
  fi
  unset PKG_CONFIG_PATH
fi

# ---------------------------------------------------------------------------
step "CMake package"
cmake_build=$WORK_DIR/cmake-consumer
configure=("$CMAKE" -S "$CONSUMER_DIR" -B "$cmake_build" -G "$GENERATOR"
           -DCMAKE_PREFIX_PATH="$PREFIX" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
           -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX")
[[ -n "${MAKE_PROGRAM:-}" ]] && configure+=(-DCMAKE_MAKE_PROGRAM="$MAKE_PROGRAM")
if [[ -n "$EXTRA_FLAGS" ]]; then
  configure+=(-DCMAKE_C_FLAGS="$EXTRA_FLAGS" -DCMAKE_CXX_FLAGS="$EXTRA_FLAGS"
              -DCMAKE_EXE_LINKER_FLAGS="$EXTRA_FLAGS")
fi
if "${configure[@]}" && "$CMAKE" --build "$cmake_build"; then
  ovk_dir=$(sed -n 's/^ovk_DIR:[A-Z]*=//p' "$cmake_build/CMakeCache.txt")
  case "$(realpath -m "$ovk_dir")" in
    "$(realpath -m "$PREFIX")"/*) ;;
    *) fail "find_package(ovk) used '$ovk_dir', not the package installed into $PREFIX" ;;
  esac
  for exe in consumer_c consumer_cxx; do
    check_resolves_into_prefix "$cmake_build/$exe"
    run_program "$cmake_build/$exe"
  done
else
  fail "the CMake consumer did not configure or build"
fi

# ---------------------------------------------------------------------------
if [[ -n "${PYTHON:-}" ]]; then
  step "Python package in $PYTHON_DIR"
  # No OVK_* variables and no library path: the installed _paths.py must lead
  # to the prefix's library and description, and the core library with them.
  check_py='
import os, sys
import numpy as np
import ovk
prefix = os.path.realpath(sys.argv[1])
a = np.full((2, 3, 3), 101, np.uint8)
assert (ovk.add(a, a, scale=1) == 101).all()
loaded = {line.split()[-1] for line in open("/proc/self/maps") if "/libovk" in line}
assert len(loaded) == 2 and all(p.startswith(prefix + "/") for p in loaded), loaded
assert os.path.realpath(ovk._lib.API_JSON_PATH).startswith(prefix + "/"), ovk._lib.API_JSON_PATH
print("ovk.add from", ovk._lib.LIBRARY_PATH)'
  if out=$(cd "$WORK_DIR" && env -u LD_LIBRARY_PATH -u OVK_LIBRARY -u OVK_API_JSON PYTHONDONTWRITEBYTECODE=1 \
           PYTHONPATH="$PREFIX/$PYTHON_DIR" "$PYTHON" -c "$check_py" "$PREFIX" 2>&1); then
    echo "$out"
  else
    fail "the installed Python package: $out"
  fi
fi

echo
if (( failures > 0 )); then
  echo "$failures check(s) failed" >&2
  exit 1
fi
echo "installed tree OK"
