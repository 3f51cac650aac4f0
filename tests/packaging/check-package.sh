#!/usr/bin/env bash
# The Debian package of this build: made by CPack in a temporary folder, checked by lintian and
# dpkg-deb, unpacked into a throwaway root whose desktop entry and AppStream metadata are
# validated, and run from there: tarpo-cli lists the emulated camera, and the viewer starts on
# its own X server with the plug-in installed beside it. Runs in a private network namespace.
# Usage: check-package.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
work=$(mktemp -d)
xvfb=""
viewer=""
cleanup() {
    [ -n "$viewer" ] && kill "$viewer" 2>/dev/null || true
    [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/out" >/dev/null
deb=$(ls "$work"/out/tarpo-viewer_*.deb)
echo "package: $(basename "$deb")"

# lintian: no error (information tags are fine).
if command -v lintian >/dev/null; then
    errors=$(lintian "$deb" 2>/dev/null | grep -E '^E: ' || true)
    [ -z "$errors" ] || fail "lintian: $errors"
fi
dpkg-deb --info "$deb" | grep -q '^ Depends: .*libaravis' || fail "no dependency on Aravis"
contents=$(dpkg-deb --contents "$deb")
for path in ./usr/bin/tarpo-viewer ./usr/bin/tarpo-cli \
            ./usr/lib/tarpo-viewer/plugins/libSaturationHighlight.so \
            ./usr/lib/udev/rules.d/70-tarpo-usb3vision.rules \
            ./usr/share/applications/com.morvex.TarpoViewer.desktop \
            ./usr/share/metainfo/com.morvex.TarpoViewer.metainfo.xml \
            ./usr/share/icons/hicolor/48x48/apps/com.morvex.TarpoViewer.png \
            ./usr/share/doc/tarpo-viewer/copyright ./usr/share/doc/tarpo-viewer/manual/index.html \
            ./usr/share/man/man1/tarpo-cli.1.gz; do
    grep -q " $path\$" <<<"$contents" || fail "missing $path"
done

root="$work/root"
dpkg -x "$deb" "$root"
desktop-file-validate "$root/usr/share/applications/com.morvex.TarpoViewer.desktop" \
    || fail "desktop entry"
appstreamcli validate --no-net "$root/usr/share/metainfo/com.morvex.TarpoViewer.metainfo.xml" \
    >/dev/null || fail "AppStream metadata"
# apt resolves the package's dependencies on this system.
if command -v apt-get >/dev/null; then
    apt-get install -s "$deb" >/dev/null 2>&1 || fail "apt cannot install the package"
fi

listed=$(TARPO_CAMEMU=1 "$root/usr/bin/tarpo-cli" list)
grep -q $'\tEMU0001$' <<<"$listed" || fail "tarpo-cli list: $listed"

# The viewer from the unpacked root: the plug-in is found from bin/../lib, no variable set.
exec 3< <(exec Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp 2>/dev/null)
xvfb=$!
read -r -t 20 number <&3 || fail "no X server"
export DISPLAY=":$number" QT_QPA_PLATFORM=xcb XDG_CONFIG_HOME="$work/config"
mkdir -p "$work/config/Morvex"
printf '[MainWindow]\nSkipAllHints=true\n' >"$work/config/Morvex/Tarpo Viewer.conf"
TARPO_CAMEMU=1 TARPO_EXTENSION_PLUGIN=SaturationHighlight "$root/usr/bin/tarpo-viewer" &
viewer=$!
for _ in $(seq 1 100); do
    if xdotool search --name '^Tarpo Viewer 64-Bit$' >/dev/null 2>&1; then
        echo "the installed viewer shows its main window"
        exit 0
    fi
    kill -0 "$viewer" 2>/dev/null || fail "the installed viewer ended ($(wait "$viewer"; echo $?))"
    sleep 0.2
done
fail "the installed viewer showed no window"
