#!/usr/bin/env bash
# The Windows packages of dist/: the 64-bit installer installs, registers as the module itself does, serves a script
# client and leaves nothing behind; the 32-bit one has the same rows.
#
#   package_test.sh PROGRAMS-FOLDER
set -euo pipefail
cd "$(dirname "$0")/../.."
sources=$PWD
programs=$(realpath "$1")
export WINEPREFIX=$PWD/build/wine-install
rm -rf "$WINEPREFIX"
. tests/windows/wine.sh
. tests/windows/registry.sh
work=$(mktemp -d)
trap 'rm -rf "$work"; end_wine' EXIT
installer=(dist/*-win64.msi)
folder="$WINEPREFIX/drive_c/Program Files/Orvex Arguments"

# The module's registration without the system's own: flags and second view differ by who writes the type library.
registration() {
    wine reg export HKCR "$work/now.reg" /y >/dev/null
    registry_values "$work/now.reg" | sed -E -e 's/Typelib/TypeLib/' -e 's/(HELPDIR\] @=).*/\1FOLDER/' |
        grep -vi -e Wow6432Node -e 'FLAGS\]' -e '^\[HKEY_CLASSES_ROOT\\Installer' | LC_ALL=C sort >"$1"
}
files() { (cd "$WINEPREFIX/drive_c" && find . -path ./windows -prune -o -type f -print | LC_ALL=C sort); }

unzip -q dist/*-win64.zip -d "$work"
unpacked=$(echo "$work"/orvexarguments-*-win64)

# The snippet of one language in the documents.
snippet() { sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/p" "$sources/docs/windows.md" | sed '/^```/d'; }
snippet text >"$work/snippet.expected"
snippet cpp >"$unpacked/examples/client.cpp"
(cd "$unpacked/examples" && x86_64-w64-mingw32-g++ -std=c++17 -Wall -Wextra -Werror -I. client.cpp component/Interfaces.cpp \
    -lole32 -loleaut32 -static -o "$work/client.exe")

# Unregistered, by the manifests alone.
mkdir "$work/alone"
cp "$work/client.exe" "$unpacked"/OrVexComArguments.{dll,manifest} "$unpacked/examples/client.exe.manifest" "$work/alone"
(cd "$work/alone" && wine client.exe | tr -d '\r' | diff - "$work/snippet.expected")
if (cd "$work" && wine client.exe) >/dev/null 2>&1; then
    echo "the client ran without the module" >&2
    exit 1
fi

registration "$work/before"
(cd "$programs" && wine regsvr32 /s OrVexComArguments.dll)
registration "$work/registered"
(cd "$programs" && wine regsvr32 /s /u OrVexComArguments.dll)
files >"$work/files.before"

wine msiexec /i "${installer[0]}" /qn
registration "$work/installed"
diff "$work/registered" "$work/installed"
rm "$unpacked/examples/client.cpp"
diff -r "$unpacked" "$folder"
cp "$folder/examples/"fill.* "$work"
for script in fill.vbs fill.js; do
    (cd "$work" && wine cscript //nologo "$script" | tr -d '\r' >"$script.out")
    diff "$work/$script.out" tests/windows/fill.expected
done
snippet vbs >"$work/client.vbs"
snippet js >"$work/client.js"
for client in 'cscript //nologo client.vbs' 'cscript //nologo client.js' ./client.exe; do
    (cd "$work" && wine $client | tr -d '\r' | diff - "$work/snippet.expected")
done

wine msiexec /x "${installer[0]}" /qn
registration "$work/after"
diff "$work/before" "$work/after"
diff "$work/files.before" <(files)
[ ! -e "$folder" ]
echo "SUMMARY: registry values of the installer, as of the module: $(comm -13 "$work/before" "$work/installed" | wc -l)"

# The tables of both installers, without what differs by width.
rows() { msiinfo export "$1" "$2" | tr -d '\r' | sed -e 's/win32/win64/' | cut -f 2- | LC_ALL=C sort; }
diff <(rows dist/*-win64.msi Registry) <(rows dist/*-win32.msi Registry)
diff <(msiinfo export dist/*-win64.msi File | cut -f 3) <(msiinfo export dist/*-win32.msi File | cut -f 3)
msiinfo suminfo dist/*-win32.msi | grep -q 'Template: Intel;'
msiinfo suminfo dist/*-win64.msi | grep -q 'Template: x64;'
