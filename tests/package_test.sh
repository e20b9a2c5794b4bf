#!/usr/bin/env bash
# The Linux packages of dist/: the examples are built against the unpacked Debian package, with CMake and with
# pkg-config, and run; the tools run from the tarball.
set -euo pipefail
cd "$(dirname "$0")/.."
sources=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
dpkg-deb -x dist/*.deb "$work/root"
usr=$work/root/usr
examples=$usr/share/doc/orvexarguments/examples
export ORVEX_REGISTRY=$work/registry

dpkg-deb --field dist/*.deb Package Version Depends | tr '\n' ' ' | grep -q 'orvexarguments .*7\.0\.0 .*libstdc++6'
for page in "$usr"/share/man/man1/*.1; do
    [ -x "$usr/bin/$(basename "$page" .1)" ]
done
[ "$(ls "$usr/bin" | wc -l)" = "$(ls "$usr/share/man/man1" | wc -l)" ]

mkdir "$work/cmake"
cat >"$work/cmake/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.21)
project(client LANGUAGES CXX)
find_package(OrvexArguments 7.0 REQUIRED)
add_executable(fill_and_pack $examples/fill_and_pack.cpp)
target_link_libraries(fill_and_pack OrvexArguments::memorystream OrvexArguments::orvexarguments)
add_executable(com_client $examples/com_client.cpp)
target_link_libraries(com_client OrvexArguments::orvexinterfaces)
END
cmake -S "$work/cmake" -B "$work/cmake/build" -DCMAKE_PREFIX_PATH="$usr" >/dev/null
cmake --build "$work/cmake/build" >/dev/null

mkdir "$work/pkgconfig"
export PKG_CONFIG_PATH=$(dirname "$(find "$usr" -name orvexarguments.pc)")
for example in fill_and_pack com_client; do
    g++ -std=c++17 "$examples/$example.cpp" $(pkg-config --cflags --libs orvexarguments) -o "$work/pkgconfig/$example"
done

module=$(find "$usr" -name OrVexComArguments.so)
export LD_LIBRARY_PATH=$(dirname "$(dirname "$module")")
"$usr/bin/orvexreg" register "$module" >/dev/null
for built in "$work/cmake/build" "$work/pkgconfig"; do
    "$built/fill_and_pack" | diff - <("$sources/build/release/fill_and_pack")
    "$built/com_client" | tr -d '\r' | diff - tests/component/com_client.expected
done
"$usr/bin/orvexreg" unregister "$module" >/dev/null

unset LD_LIBRARY_PATH
tar -xzf dist/*-Linux.tar.gz -C "$work"
"$work"/orvexarguments-*-Linux/bin/orvexargs convert <<<'InvokeID=5' | grep -qx '(InvokeID:5)'
echo "SUMMARY: examples built against the package: 2 with CMake, 2 with pkg-config"
