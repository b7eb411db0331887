#!/usr/bin/env bash
# Installs the build into a scratch prefix and checks what a desktop and a package
# manager read: the programs run from there, the desktop entry and the AppStream file
# validate, man renders both pages without warnings, the completion parses, and the
# .deb holds exactly the files that the install put in place.
set -euo pipefail
build="$1"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
prefix="$scratch/prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
id=app.ringfold.Ringfold
for f in bin/ringfold bin/ringfold-scan share/applications/$id.desktop \
    share/metainfo/$id.metainfo.xml share/icons/hicolor/scalable/apps/$id.svg \
    share/man/man1/ringfold.1.gz share/man/man1/ringfold-scan.1.gz \
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
    # --warnings=w: every warning groff has, on standard error.
    rendered="$(LC_ALL=C.UTF-8 man --warnings=w -l "$prefix/share/man/man1/$page.1.gz" \
        2>"$scratch/warnings")"
    [ ! -s "$scratch/warnings" ] || { echo "$page.1:"; cat "$scratch/warnings"; exit 1; }
    grep -q "^NAME" <<<"$rendered" || { echo "$page.1 renders empty"; exit 1; }
done
bash -n "$prefix/share/bash-completion/completions/ringfold-scan"

# The package installs the same files under /usr.
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/package" >"$scratch/cpack.log" 2>&1 ||
    { cat "$scratch/cpack.log"; exit 1; }
debs=("$scratch"/package/*.deb)
[ ${#debs[@]} -eq 1 ] || { echo "expected one .deb, got: ${debs[*]}"; exit 1; }
installed="$(cd "$prefix" && find . ! -type d | sed 's|^\./|./usr/|' | sort)"
packaged="$(dpkg-deb -c "${debs[0]}" | awk '$1 !~ /^d/ { print $6 }' | sort)"
diff <(echo "$installed") <(echo "$packaged") || { echo "< installed, > in the .deb"; exit 1; }
echo "install check passed"
