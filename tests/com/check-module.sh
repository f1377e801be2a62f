#!/usr/bin/env bash
# check-module.sh DLL BITS OBJDUMP: whether the file is the module that hosts of that bitness can load.
set -euo pipefail
dll=$1 bits=$2
dump=$("$3" -p "$dll")
faults=0
fault() { echo "$dll: $*" >&2; faults=1; }

exports=$(sed -nE '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^[[:space:]]*\[ *[0-9]+\].* //p' <<<"$dump" | sort | xargs)
[ "$exports" = "DllCanUnloadNow DllGetClassObject DllInstall DllRegisterServer DllUnregisterServer" ] ||
  fault "exports $exports"

system=" advapi32 gdi32 kernel32 msvcrt ole32 oleaut32 user32 ws2_32 "
while read -r import; do
  [[ $system == *" ${import%.dll} "* ]] || fault "imports $import"
done < <(sed -n 's/.*DLL Name: //p' <<<"$dump" | tr '[:upper:]' '[:lower:]')

format=pei-i386 processor=x86 kind=1
[ "$bits" = 32 ] || { format=pei-x86-64 processor=amd64 kind=3; }
grep -q "file format $format$" <<<"$dump" || fault "is not $format"
grep -Eq '^Entry 5 [0-9a-f]*[1-9a-f][0-9a-f]* ' <<<"$dump" || fault "cannot be relocated"

# Types and identifiers: the scripts, the library, the bitmap, the texts, the version, the manifest.
resources=$(sed -nE 's/^[0-9a-f]{3} {3}( {2})?Entry: (name.*\]:|ID:) ([^,]*),.*/\3/p' <<<"$dump" | xargs)
[ "$resources" = "REGISTRY 0x000065 0x000067 TYPELIB 0x000001 0x000002 0x000066 0x000006 0x000007 0x000010 0x000001 0x000018 0x000001" ] ||
  fault "has the resources $resources"
grep -aq OLESelfRegister <(tr -d '\0' <"$dll") || fault "does not say that it registers itself"
grep -aq "processorArchitecture=\"$processor\"" "$dll" || fault "is no assembly for $processor"
library=$(LC_ALL=C grep -abom1 MSFT "$dll" | head -n 1 | cut -d : -f 1)
[[ $(od -An -t x1 -j $((library + 0x14)) -N 1 "$dll") == *"$kind" ]] || fault "has no type library for $bits bits"
grep -aq "TLK Client connecting" "$dll" || fault "has a type library without help"
exit $faults
