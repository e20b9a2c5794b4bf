# To be sourced in the root of the sources: Wine for 64-bit Windows programs, with a prefix of its own under the build
# folder. Nothing is shown on a screen, and a program that crashes ends without a debugger. The server ends with the script.

export WINEPREFIX=${WINEPREFIX:-$PWD/build/wine} WINEDEBUG=-all WINEARCH=win64 WINEDLLOVERRIDES='winedbg.exe=d'
end_wine() { timeout 20 /usr/lib/wine/wineserver64 -k 2>/dev/null || true; }
trap end_wine EXIT

# No run takes longer than it should: one that hangs is ended and fails.
wine() { timeout "${WINE_SECONDS:-120}" /usr/lib/wine/wine64 "$@"; }

if [ ! -f "$WINEPREFIX/ready" ]; then
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    DISPLAY='' wine wineboot --init >/dev/null 2>&1
    wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null
    # The script host registers what it needs when it first runs.
    (cd "$WINEPREFIX" && echo 'WScript.Echo("ready")' | tee first.vbs >first.js &&
        wine cscript //nologo first.vbs && wine cscript //nologo first.js) >/dev/null
    # What started with the prefix knows nothing of that yet: windows come only with a new server.
    timeout 60 /usr/lib/wine/wineserver64 -w || end_wine
    touch "$WINEPREFIX/ready"
fi
