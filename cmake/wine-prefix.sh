#!/bin/sh
# Makes the new, empty folder $WINEPREFIX a Wine prefix in which a program that crashes fails.
# Wine's default answer to an unhandled exception is winedbg's dump, after which the program
# often ends with status 0; with no debugger to start (an empty "Debugger" value) the exception
# ends the program at once with its code (an access violation, 0xC0000005, gives status 5).
# Any further arguments name programs (file names, such as tovport_tests.exe) that run with freed
# heap memory filled (FLG_HEAP_ENABLE_FREE_CHECK), so that memory used after it was freed reads
# as a pattern, not as the data it held.
set -eu
wine=${WINE:-/usr/lib/wine/wine64}
"$wine" wineboot -i >/dev/null 2>&1
"$wine" reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /t REG_SZ /d '' /f >/dev/null
for program in "$@"; do
  "$wine" reg add "HKLM\\Software\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options\\$program" \
    /v GlobalFlag /t REG_DWORD /d 0x20 /f >/dev/null
done
