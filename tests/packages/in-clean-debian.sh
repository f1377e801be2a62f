#!/usr/bin/env bash
# in-clean-debian.sh: where it lies beside the packages, the README's program and what runs it, in a
# Debian that is thrown away: installs the packages, builds the program by CMake and by pkg-config, runs it
# against the server of the installed `tlk`, purges everything, and compares what there is with before.
set -euo pipefail
cd "$(dirname "$0")"
. ./server.sh
. ./greet.sh

# what_there_is: every file and package, without what apt and its logs keep of their own.
what_there_is() {
  find / -xdev \( -path /srv -o -path /tmp -o -path /proc -o -path /var/log -o -path /var/cache/apt \) -prune -o -print
  dpkg-query -W
}

apt-get update
what_there_is | sort >before.txt
apt-get install -y --no-install-recommends ./*.deb
version=$(dpkg-query -W -f '${source:Upstream-Version}' tlk)
tlk --version | grep -F "$version"
ldconfig -p | grep -F libtlkc2.so.1
dpkg-query --control-show libtlkc2-1 shlibs | grep -xF "libtlkc2 1 libtlkc2-1 (>= $version)"

cmake -B build && cmake --build build
greet tlk build/greeter /tmp
flags=$(pkg-config --cflags --libs tlkc2)
read -ra flags <<<"$flags"
g++ -std=c++20 main.cpp -o greeter "${flags[@]}"
greet tlk ./greeter /tmp

export HOME=$PWD
lnav -n -c ";SELECT count(*) || ' sent' FROM tlkc2_log WHERE line = 642" /tmp/TLK_Client.log | grep -F ' sent'
tshark -G protocols | grep -P '^TlkC2 message\t'

packages=(./*.deb)
packages=("${packages[@]#./}")
apt-get purge -y --autoremove "${packages[@]%%_*}"
what_there_is | sort | diff before.txt -
