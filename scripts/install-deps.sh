#!/usr/bin/env bash
# Installs everything the build and the tests need on Debian bookworm. Idempotent: a package that is
# already there is skipped, so a second run makes no network call and prints nothing.
set -euo pipefail

if [ "$(id -u)" -ne 0 ]; then
  echo "install-deps.sh: run as root (apt-get needs it)" >&2
  exit 1
fi

packages=(cmake ninja-build g++ make pkg-config libjsoncpp-dev libblosc-dev libgtest-dev libbenchmark-dev
          libembree-dev libtbb-dev libtinyobjloader-dev libcli11-dev libpng-dev libnanoflann-dev locales)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done

if [ "${#missing[@]}" -gt 0 ]; then
  echo "install-deps.sh: installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# half.hpp is only packaged from trixie on. Fetch that one package from the trixie suite of the machine's
# own mirror through a private apt list, leaving the system's sources untouched.
if ! dpkg-query -W -f='${Status}' libhalf-dev 2>/dev/null | grep -q 'install ok installed'; then
  echo "install-deps.sh: installing libhalf-dev from trixie"
  mirror=$( (grep -h '^URIs:' /etc/apt/sources.list.d/*.sources 2>/dev/null | awk '{print $2}';
             grep -h '^deb ' /etc/apt/sources.list 2>/dev/null | awk '{print $2}') | grep -v security | head -n1 || true)
  if [ -z "$mirror" ]; then
    echo "install-deps.sh: no Debian mirror found in the apt configuration" >&2
    exit 1
  fi
  work=$(mktemp -d /tmp/hv-trixie.XXXXXX)
  echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror trixie main" > "$work/trixie.list"
  chmod 755 "$work"
  mkdir -p "$work/lists/partial"
  opts=(-o "Dir::Etc::sourcelist=$work/trixie.list" -o Dir::Etc::sourceparts=- -o "Dir::State::Lists=$work/lists")
  apt-get "${opts[@]}" update -qq
  (cd "$work" && apt-get "${opts[@]}" download libhalf-dev >/dev/null)
  dpkg -i "$work"/libhalf-dev_*_all.deb >/dev/null
  rm -rf "$work"
fi

# The numeric-locale guard of the file writers is tested under a locale with a decimal comma.
if ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
  echo "install-deps.sh: generating the de_DE.UTF-8 locale"
  sed -i 's/^# *\(de_DE\.UTF-8 UTF-8\)/\1/' /etc/locale.gen
  grep -q '^de_DE.UTF-8 UTF-8' /etc/locale.gen || echo 'de_DE.UTF-8 UTF-8' >> /etc/locale.gen
  locale-gen >/dev/null
fi
