#!/usr/bin/env bash
# Builds what is shipped into dist/: a tarball and a Debian package for Linux; a zip, an installer and a zip of debug
# information for 64-bit and for 32-bit Windows.
set -euo pipefail
cd "$(dirname "$0")/.."
version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null || echo 946684800)
export SOURCE_DATE_EPOCH
scripts/setup.sh
rm -rf dist
mkdir -p dist build

build() {
    cmake --preset "$1" "${@:3}" >"build/package-$1.log" 2>&1 && cmake --build --preset "$1" --target $2 >>"build/package-$1.log" 2>&1 ||
        { tail "build/package-$1.log"; exit 1; }
}

package_linux() {
    build release all -DCMAKE_INSTALL_PREFIX=/usr
    (cd build/release && cpack) >build/package-release.log 2>&1 || { tail build/package-release.log; exit 1; }
    rm -r dist/_CPack_Packages
}

# What goes to a Windows machine, in a folder that the zip and the installer are made of.
stage_windows() {
    local preset=$1 width=$2 folder=$3
    rm -rf "$folder"
    mkdir -p "$folder"/examples/{component,platform}
    cp "build/$preset"/{OrVexComArguments.dll,orvexargs.exe,orvextraceserver.exe} "$folder"
    cp "build/$preset/component/OrvexArguments.tlb" component/OrvexArguments.idl "$folder"
    cp packaging/windows/examples/* examples/com_client.cpp examples/messages.txt "$folder/examples"
    cp component/Interfaces.{h,cpp} "$folder/examples/component"
    cp platform/Platform.h "$folder/examples/platform"
    sed "s/@ARCHITECTURE@/$([ "$width" = 64 ] && echo amd64 || echo x86)/" packaging/windows/OrVexComArguments.manifest.in \
        >"$folder/OrVexComArguments.manifest"
    sed 's/$/\r/' packaging/windows/README.txt >"$folder/README.txt"
    cp docs/windows.md docs/component.md docs/logging.md "$folder"
    find "$folder" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
}

# The installer's identity: its own for each version and width.
product() { sha1sum <<<"$1" | sed -E 's/^(.{8})(.{4}).(.{3}).(.{3})(.{12}).*/\U\1-\2-5\3-8\4-\5/'; }

package_windows() {
    local preset=$1 width=$2 platform=$3
    local name=orvexarguments-$version-win$width
    build "$preset" "OrVexComArguments orvexargs orvextraceserver"
    stage_windows "$preset" "$width" "build/$name"
    (cd build && find "$name" -type f | LC_ALL=C sort | zip -q -X "../dist/$name.zip" -@)
    (cd "build/$preset" && zip -q -X "$OLDPWD/dist/$name-debug.zip" OrVexComArguments.dll.debug orvexargs.exe.debug orvextraceserver.exe.debug)
    wixl -a "$platform" -D "Version=$version" -D "Width=$width" -D "Product=$(product "$name")" -D "Folder=build/$name" \
        -o "dist/$name.msi" packaging/windows/orvexarguments.wxs
}

echo "-- Linux"
package_linux
echo "-- 64-bit Windows"
package_windows windows-x64 64 x64
echo "-- 32-bit Windows"
package_windows windows-x86 32 x86
(cd dist && ls -l)
