# The in-process server module exports the four entry points and nothing else of its own.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
own=$(nm -D --defined-only "$TOVPORT_SERVER" | awk '{print $3}' | grep -v -E '^(_init|_fini|_edata|_end|__bss_start)$' | sort)
want=$(printf '%s\n' DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer)
[ "$own" = "$want" ] || fail "exported: $own"
echo "exports: ok"
