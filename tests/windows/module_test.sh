#!/usr/bin/env bash
# The module's file: what it exports, imports and carries, without running it.
#
#   module_test.sh TRIPLET PROGRAMS-FOLDER
set -euo pipefail
sources=$(realpath "$(dirname "$0")/../..")
triplet=$1
cd "$2"

exports() { "$triplet-objdump" -p "$1" | sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/p' | awk '/^\t\[/ { print $NF }'; }
diff <(exports OrVexComArguments.dll) - <<'END'
DllCanUnloadNow
DllGetClassObject
DllRegisterServer
DllUnregisterServer
END

system='ADVAPI32.dll KERNEL32.dll msvcrt.dll ole32.dll OLEAUT32.dll USER32.dll'
for program in OrVexComArguments.dll orvexargs.exe orvextraceserver.exe com_client.exe; do
    for import in $("$triplet-objdump" -p "$program" | sed -n 's/.*DLL Name: //p'); do
        grep -qwiF "$import" <<<"$system" || { echo "$program imports $import" >&2; exit 1; }
    done
done

resources() { wrestool -l "$1" | sed -n "s/^--type='\?\([A-Za-z0-9]*\)'\? --name='\?\([A-Za-z0-9]*\)'\? .*/\1 \2/p" | LC_ALL=C sort; }
diff <(resources OrVexComArguments.dll) - <<'END'
16 1
6 7
REGISTRY 102
REGISTRY 104
TYPELIB 1
END
wrestool -x --raw -t REGISTRY -n 102 OrVexComArguments.dll | cmp - "$sources/component/ComArg.rgs"
wrestool -x --raw -t REGISTRY -n 104 OrVexComArguments.dll | cmp - "$sources/component/ComArguments.rgs"
for text in OrVexComArguments 'ComArg Class' 'ComArguments Class'; do
    wrestool -x --raw -t 6 OrVexComArguments.dll | iconv -f UTF-16LE -t UTF-8 -c | grep -qF "$text"
done
"$triplet-objdump" -h OrVexComArguments.dll | grep -q gnu_debuglink

# slots CLASS INTERFACE: the methods of the compiled class stand in the order of the interface definition.
slots() {
    diff <("$triplet-g++" -std=gnu++17 -w -I"$sources" -fsyntax-only -fdump-lang-class=/dev/stdout -x c++ "$sources/component/$1.h" |
        sed -n "/^Vtable for $1\$/,/~$1/s/.*)$1::\([A-Za-z]*\)\$/\1/p") \
        <(printf '%s\n' QueryInterface AddRef Release GetTypeInfoCount GetTypeInfo GetIDsOfNames Invoke
        sed -n "/^    interface $2 :/,/};/s/.*HRESULT \([A-Za-z]*\)(.*/\1/p" "$sources/component/OrvexArguments.idl")
}
slots CComArg IArg
slots CComArguments IArguments

# A va_list is a char* here, so a call with one text would take the logger's list form; only the handle means it.
list_form() { "$triplet-nm" -A -u CMakeFiles/orvexarguments.dir/*/*.obj component/CMakeFiles/OrVexComArguments.dir/*.obj |
    sed -n 's|.*/\([A-Za-z]*\)\.cpp\.obj:.*_ZN10LogWrapper5TraceEjPKcPc$|\1|p'; }
[ "$(list_form)" = Logger ]
echo "SUMMARY: $triplet, 4 exports, 5 resources, slots of 2 classes"
