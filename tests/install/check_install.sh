#!/usr/bin/env bash
# Installs the built library into a scratch prefix and builds a C program against it both ways:
# through pkg-config (shared and static) and through the CMake package (shared and static).
set -euo pipefail
build_dir=$1
source_dir=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

prefix=$work/prefix
cmake --install "$build_dir" --prefix "$prefix" > /dev/null
libdir=$(dirname "$(find "$prefix" -name lum-custom.pc)")/..
libdir=$(cd "$libdir" && pwd)
test -f "$prefix/include/lum.h"
test -e "$libdir/liblum-custom.so.5"
test -f "$libdir/liblum-custom.a"
soname=$(objdump -p "$libdir/liblum-custom.so" | awk '/SONAME/ {print $2}')
[ "$soname" = "liblum-custom.so.5" ] || { echo "unexpected SONAME $soname"; exit 1; }
test -e "$libdir/liblum-custom.so.5.1.0"

# The .pc file records the configured prefix; point pkg-config at the scratch one.
export PKG_CONFIG_PATH=$libdir/pkgconfig
pc() { pkg-config --define-variable=prefix="$prefix" "$@" lum-custom; }
[ "$(pc --modversion)" = "5.1.0" ]
cc -std=c99 -Wall -Wextra -Werror $(pc --cflags) "$source_dir/consumer.c" -o "$work/pc-shared" $(pc --libs)
LD_LIBRARY_PATH=$libdir "$work/pc-shared"
# Static: the same flags with the archive named exactly, and the private libraries it needs.
static_libs=$(pc --libs --static)
cc -std=c99 -Wall -Wextra -Werror $(pc --cflags) "$source_dir/consumer.c" -o "$work/pc-static" \
    ${static_libs/-llum-custom/-l:liblum-custom.a}
"$work/pc-static"

cmake -S "$source_dir" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" > /dev/null
cmake --build "$work/consumer" > /dev/null
LD_LIBRARY_PATH=$libdir "$work/consumer/consumer-shared"
"$work/consumer/consumer-static"
echo "install check passed"
