#!/usr/bin/env bash
# make.sh FOLDER: makes what users of Windows install, with the time SOURCE_DATE_EPOCH in it:
# TlkC2-VERSION-windows.zip, and TlkC2-VERSION-setup.exe with the same files.
set -euo pipefail
: "${SOURCE_DATE_EPOCH:?is the time that everything made here bears}"
output=$(realpath "$1")
cd "$(dirname "$0")/../.."
. scripts/packages.sh

need_package_tools
build windows-x64 TlkC2 tlk
build windows-x86 TlkC2 tlk
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build/windows-x64/CMakeCache.txt)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
files=$work/TlkC2-$version
sample() { scripts/blocks.sh "$1" docs/embedding.md; }

for bits in x64 x86; do
  quietly "build/windows-$bits.install.log" cmake --install "build/windows-$bits" --prefix "$files/$bits"
  x86_64-w64-mingw32-strip "$files/$bits"/*.dll "$files/$bits"/*.exe
done
sample xml >"$files/x64/greeter.exe.manifest"
sample xml | sed s/amd64/x86/ >"$files/x86/greeter.exe.manifest"
mkdir "$files/samples"
sample cpp >"$files/samples/greeter.cpp"
sample vb >"$files/samples/status.vbs"
sample js >"$files/samples/status.js"
mkdir "$files/field-tools" "$files/docs"
cp tools/lnav/tlkc2.json tools/wireshark/tlkc2.lua "$files/field-tools"
cp docs/control.png packaging/windows/style.css "$files/docs"
for page in choices console conversations embedding field-tools messages performance protocol scale security tap trace-log; do
  lowdown -s --parse-no-metadata --out-no-smarty -M css=style.css \
    -M "title=TlkC2: $(sed -n '1s/^# //p' "docs/$page.md")" "docs/$page.md" |
    sed -E 's/(href="[a-z-]+)\.md/\1.html/g; s|>([a-z-]+)\.md</a>|>\1</a>|g' >"$files/docs/$page.html"
done
sed "s/@VERSION@/$version/" packaging/windows/README.txt >"$files/README.txt"
cp CHANGELOG.md "$files"

find "$files" -type f ! -name '*.html' ! -name '*.css' -exec grep -qI . {} \; -exec sed -i 's/$/\r/' {} +
chmod -R u=rwX,go=rX "$files"
find "$files" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +

# Named in one order, without who owned them here, and in one time zone.
export LC_ALL=C TZ=UTC
zip=$output/TlkC2-$version-windows.zip
rm -f "$zip"
(cd "$work" && find "TlkC2-$version" -type f | sort | zip -q -9 -X -@ "$zip")

# The uninstaller takes away each file by its name, and then the folders, if nothing else is in them.
{
  find "$files" -type f -printf 'Delete "$INSTDIR\\%P"\n' | sort
  find "$files" -mindepth 1 -type d -printf 'RMDir "$INSTDIR\\%P"\n' | sort -r
} | tr / '\\' >"$work/removal.nsh"
quietly build/windows-setup.log makensis -WX -DVERSION="$version" -DFILES="$files" \
  -DREMOVAL="$work/removal.nsh" -DSIZE="$(du -sk --apparent-size "$files" | cut -f 1)" \
  -DOUTPUT="$output/TlkC2-$version-setup.exe" packaging/windows/installer.nsi
