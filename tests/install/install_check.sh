#!/usr/bin/env bash
# Installs the build into a scratch prefix and checks what a desktop and a package
# manager read: the programs run from there, the desktop entry and the AppStream file
# validate, the man pages render without warnings, the completion parses.
set -euo pipefail
build="$1"
prefix="$(mktemp -d)"
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
id=app.ringfold.Ringfold
for f in bin/ringfold bin/ringfold-scan share/applications/$id.desktop \
    share/metainfo/$id.metainfo.xml share/icons/hicolor/scalable/apps/$id.svg \
    share/man/man1/ringfold.1 share/man/man1/ringfold-scan.1 \
    share/bash-completion/completions/ringfold-scan; do
    [ -s "$prefix/$f" ] || { echo "missing: $f"; exit 1; }
done
"$prefix/bin/ringfold-scan" --help >/dev/null
QT_QPA_PLATFORM=offscreen "$prefix/bin/ringfold" --version | grep -q "Ringfold"
out="$(desktop-file-validate "$prefix/share/applications/$id.desktop")"
[ -z "$out" ] || { echo "$out"; exit 1; }
appstreamcli validate --no-net "$prefix/share/metainfo/$id.metainfo.xml"
grep -q '@' "$prefix/share/metainfo/$id.metainfo.xml" && { echo "unconfigured metainfo"; exit 1; }
for page in ringfold ringfold-scan; do
    warnings="$(groff -man -Tutf8 -ww -z "$prefix/share/man/man1/$page.1" 2>&1)"
    [ -z "$warnings" ] || { echo "$page.1: $warnings"; exit 1; }
done
bash -n "$prefix/share/bash-completion/completions/ringfold-scan"
echo "install check passed"
