# To be sourced: what a registration adds, from exports of HKCR.

# Every value of an export, a line each, the module's path and folder by name.
registry_values() {
    iconv -f UTF-16 -t UTF-8 "$1" | tr -d '\r' |
        awk '/^\[/ { key = $0; next } NF { print key, $0 }' |
        sed -E -e 's/"[^"]*OrVexComArguments\.dll"/"MODULE"/' | LC_ALL=C sort
}

# added BEFORE AFTER: what is registered for the type library is the system's affair, but for the path.
added() { comm -13 "$1" "$2" | grep -vi -e '\\TypeLib\\' -e '\\Interface\\'; }

# What came with a registration, with a second one and what is left without; each the values as above.
check_registration() {
    local before=$1 once=$2 twice=$3 after=$4 width=$5
    diff <(added "$before" "$once") tests/windows/registered.expected
    grep -qiF "TypeLib\\{E06D9943-E730-11D4-9D3C-0010B5522A44}\\7.0\\409\\$width] @=\"MODULE\"" "$once"
    cmp "$once" "$twice"
    cmp "$before" "$after"
    echo "SUMMARY: registry entries of a registration: $(added "$before" "$once" | wc -l)"
}
