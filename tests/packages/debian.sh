#!/usr/bin/env bash
# debian.sh FOLDER: checks the Debian packages in FOLDER by lintian, and that their files are guarded and
# hold no path of this machine; then has in-clean-debian.sh install, use and purge them in a Debian that is
# made for it, from which build/clean-debian keeps what takes long.
set -euo pipefail
packages=$(realpath -- "${1:?"usage: debian.sh FOLDER"}")
cd "$(dirname "$0")/../.."
. scripts/packages.sh
need lintian debootstrap

work=$PWD/build/clean-debian
rm -rf "$work"/{files,root}
mkdir -p "$work"/{files,root}
trap 'rm -rf "$work"/{files,root}' EXIT

lintian --allow-root --fail-on error "$packages"/*.deb
for package in "$packages"/*.deb; do
  dpkg-deb -x "$package" "$work/files"
done
tests/hardening/check.sh "$work"/files/usr/bin/tlk "$work"/files/usr/lib/*/libtlkc2.so.1 >/dev/null
if grep -rF -e "$PWD" "$work/files"; then exit 1; fi

leave_out() {
  echo "Left out: installing the Debian packages, since $1"
  exit 0
}

# alone COMMAND...: runs it so that what it mounts and starts ends with it.
alone() { unshare --mount --pid --fork --kill-child "$@"; }

# in_root FOLDER COMMAND...: runs it in the Debian of that folder.
in_root() { alone --root="$1" --wd=/ --mount-proc env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 \
  DEBIAN_FRONTEND=noninteractive "http_proxy=${http_proxy:-}" "${@:2}"; }

[ "$(id -u)" -eq 0 ] || leave_out "this is not root"
{ alone true && mknod "$work/files/null" c 1 3; } 2>/dev/null || leave_out "nothing can be mounted here"
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
mirror=$(apt-get --print-uris update | sed -nE "s|^'(.*)/dists/$suite/InRelease'.*|\1|p" | head -n 1)
/usr/lib/apt/apt-helper download-file "$mirror/dists/$suite/InRelease" "$work/files/InRelease" \
  >"$work/mirror.log" 2>&1 || leave_out "the mirror gives nothing: $(grep '^E: Failed' "$work/mirror.log")"

base=$work/$suite-lnav-tshark
if [ ! -e "$base" ]; then
  echo "Making a clean Debian"
  rm -rf "$base.new"
  quietly "$work/debootstrap.log" alone debootstrap --variant=minbase "$suite" "$base.new" "$mirror"
  echo force-unsafe-io >"$base.new/etc/dpkg/dpkg.cfg.d/unsafe-io"
  quietly "$work/tools.log" in_root "$base.new" apt-get install -y --no-install-recommends \
    g++ make cmake pkg-config lnav tshark
  in_root "$base.new" apt-get clean
  echo 127.0.0.1 localhost >"$base.new/etc/hosts"
  mv "$base.new" "$base"
fi

echo "Installing, using and purging the Debian packages"
cp -a "$base/." "$work/root"
cp /etc/resolv.conf "$work/root/etc"
scripts/blocks.sh cpp README.md >"$work/root/srv/main.cpp"
scripts/blocks.sh cmake README.md >"$work/root/srv/CMakeLists.txt"
cp "$packages"/*.deb tests/packages/in-clean-debian.sh scripts/server.sh \
  tests/consumer/greet.sh "$work/root/srv"
quietly "$work/test.log" in_root "$work/root" /srv/in-clean-debian.sh
