#!/usr/bin/env bash
# The module's file: what it exports, imports and carries, without running it.
#
#   module_test.sh TRIPLET PROGRAMS-FOLDER
set -euo pipefail
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
wrestool -x --raw -t REGISTRY -n 102 OrVexComArguments.dll | cmp - "$OLDPWD/component/ComArg.rgs"
wrestool -x --raw -t REGISTRY -n 104 OrVexComArguments.dll | cmp - "$OLDPWD/component/ComArguments.rgs"
for text in OrVexComArguments 'ComArg Class' 'ComArguments Class'; do
    wrestool -x --raw -t 6 OrVexComArguments.dll | iconv -f UTF-16LE -t UTF-8 -c | grep -qF "$text"
done
"$triplet-objdump" -h OrVexComArguments.dll | grep -q gnu_debuglink
echo "SUMMARY: $triplet, 4 exports, 5 resources"
