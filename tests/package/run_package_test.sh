#!/usr/bin/env bash
# Installs the built project into a temporary prefix and, out of tree against the installed
# package (find_package(BrevView)):
#  - builds the README's own recipe, taken from the README at the time of the test (the
#    blocks marked "package-test: FILE"), with no C++ standard set by the host, and runs it;
#  - builds and runs a host that checks the package from the outside;
#  - runs the installed programs from the prefix (--help, --version, a sample database);
#  - builds a host with make and the installed brevview.pc, and runs it;
#  - loads the installed Designer plugin from a host linked to Qt alone, with no library path.
set -euo pipefail
build_dir=$1
source_dir=$(cd "$(dirname "$0")" && pwd)
readme="$source_dir/../../README.md"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
cmake --install "$build_dir" --prefix "$prefix" > "$work/install.log"

# The README's recipe, verbatim: each fenced block that follows a "package-test: FILE" marker.
mkdir -p "$work/recipe"
awk -v dir="$work/recipe" '
  /<!-- package-test: [^ ]+ -->/ { match($0, /package-test: [^ ]+/); file = substr($0, RSTART + 14, RLENGTH - 14); next }
  file != "" && /^```/ { if (inside) { inside = 0; file = "" } else { inside = 1 } ; next }
  inside { print > (dir "/" file) }
' "$readme"
for f in CMakeLists.txt main.cpp; do
  [ -s "$work/recipe/$f" ] || { echo "the README has no package-test block for $f"; exit 1; }
done
if grep -q CMAKE_CXX_STANDARD "$work/recipe/CMakeLists.txt"; then
  echo "the README recipe sets a C++ standard itself; it must come from the package"; exit 1
fi
cmake -S "$work/recipe" -B "$work/recipe-build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" > "$work/recipe-configure.log"
cmake --build "$work/recipe-build" > "$work/recipe-build.log" || { cat "$work/recipe-build.log"; exit 1; }

# A settings folder of its own and a database that does not exist: nothing touches the
# user's files, and the recipe's Refresh fails with a numbered error through the event loop.
export XDG_CONFIG_HOME="$work/config" XDG_DATA_HOME="$work/data" QT_QPA_PLATFORM=offscreen
status=0
BREV_DATABASE="$work/none.db" timeout 4 "$work/recipe-build/my_host" "$work/none.db" > "$work/recipe-run.log" 2>&1 || status=$?
if [ "$status" -ne 124 ]; then
  echo "the README recipe ended by itself with status $status instead of running its event loop:"
  cat "$work/recipe-run.log"
  exit 1
fi
grep -q "3024" "$work/recipe-run.log" || { echo "the recipe did not report error 3024:"; cat "$work/recipe-run.log"; exit 1; }
echo "README recipe: built without a standard of its own, ran, reported $(grep -o '3024' "$work/recipe-run.log" | head -1)"

# The host that checks the package from the outside.
cmake -S "$source_dir/host" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" > "$work/configure.log"
cmake --build "$work/build" > "$work/build.log" || { cat "$work/build.log"; exit 1; }

# Installed programs start from the prefix and answer --help and --version.
for program in brevview-sampledb brevview-demo; do
  "$prefix/bin/$program" --help > "$work/help.txt"
  grep -q -- "--version" "$work/help.txt" || { echo "$program --help does not list --version"; exit 1; }
  "$prefix/bin/$program" --version | grep -q "2\.1" || { echo "$program --version does not say 2.1"; exit 1; }
done
"$prefix/bin/brevview-sampledb" --count 30 "$work/sample.db" > /dev/null
echo "installed programs: ok"

# A host built with make and pkg-config alone.
pc_dir=$(dirname "$(find "$prefix" -name brevview.pc | head -1)")
cp -r "$source_dir/makefile-host" "$work/makefile-host"
PKG_CONFIG_PATH="$pc_dir" make -s -C "$work/makefile-host" > "$work/make.log" 2>&1 || { cat "$work/make.log"; exit 1; }
env -u LD_LIBRARY_PATH "$work/makefile-host/makefile_host" | grep "makefile host: ok" || { echo "the pkg-config host failed"; exit 1; }

# The Designer plugin, loaded as Qt Designer loads it: from the prefix, no library path set.
plugin_dir=$(dirname "$(find "$prefix" -name libbrevview_designer.so | head -1)")
if [ -n "$plugin_dir" ] && [ "$plugin_dir" != . ]; then
  cmake -S "$source_dir/designer-host" -B "$work/designer-build" -G Ninja > "$work/designer-configure.log"
  cmake --build "$work/designer-build" > "$work/designer-build.log" || { cat "$work/designer-build.log"; exit 1; }
  env -u LD_LIBRARY_PATH BREV_DATABASE="$work/sample.db" "$work/designer-build/designer_host" "$plugin_dir" | grep "designer host: ok" \
    || { echo "the installed Designer plugin does not load from its prefix"; exit 1; }
else
  echo "no Designer plugin installed (qt6-tools-dev missing)"; exit 1
fi

BREV_DATABASE="$work/none.db" "$work/build/package_host" "$work/sample.db"
