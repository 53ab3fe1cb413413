# Shared by ./quillmere and ./test: installs the Debian packages that are missing and
# builds with CMake and Ninja. Build output goes to standard error so that the
# application's own output stays clean.

QUILLMERE_PACKAGES=(cmake ninja-build g++ pkg-config qt6-base-dev qt6-svg-dev libvips-dev
  libexiv2-dev libqpdf-dev libicu-dev libplist-dev libraw-dev libheif-dev ghostscript locales tzdata)
QUILLMERE_TEST_PACKAGES=(libgtest-dev libvips-tools libimage-exiftool-perl poppler-utils xvfb xauth
  imagemagick)

quillmere_install() {
  local missing=() p
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local sudo=()
  [ "$(id -u)" -eq 0 ] || sudo=(sudo)
  echo "Installing: ${missing[*]}" >&2
  "${sudo[@]}" apt-get update -q >&2 &&
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}" >&2
}

# quillmere_build DIR [cmake options...]
quillmere_build() {
  local dir=$1; shift
  cmake -S "$QUILLMERE_ROOT" -B "$QUILLMERE_ROOT/$dir" -G Ninja "$@" >&2 &&
    cmake --build "$QUILLMERE_ROOT/$dir" >&2
}

# Tests pin LC_ALL=en_US.UTF-8; make sure the C library knows that locale.
quillmere_ensure_test_locale() {
  locale -a 2>/dev/null | grep -qix 'en_US.utf8' && return 0
  local sudo=()
  [ "$(id -u)" -eq 0 ] || sudo=(sudo)
  "${sudo[@]}" sed -i 's/^# *\(en_US.UTF-8 UTF-8\)/\1/' /etc/locale.gen &&
    "${sudo[@]}" locale-gen >&2
}
