#!/usr/bin/env bash
# Installs the built project into a temporary prefix, builds a tiny host against the
# installed package (find_package(BrevView)) out of tree, and runs it.
set -euo pipefail
build_dir=$1
source_dir=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build_dir" --prefix "$work/prefix" > "$work/install.log"
cmake -S "$source_dir/host" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" > "$work/configure.log"
cmake --build "$work/build" > "$work/build.log"
# A settings folder and an empty database setting of its own: nothing touches the user's files.
export XDG_CONFIG_HOME="$work/config" XDG_DATA_HOME="$work/data" BREV_DATABASE="$work/none.db" QT_QPA_PLATFORM=offscreen
"$work/build/package_host"
