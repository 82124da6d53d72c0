# Sourced by the other tools: installs what is missing, and only that.

# need COMMAND PACKAGE: the package, where there is no such command.
need() {
  command -v "$1" >/dev/null 2>&1 || install_package "$2"
}

# need_file PATTERN PACKAGE: the package, where no such file is there.
need_file() {
  compgen -G "$1" >/dev/null || install_package "$2"
}

# need_build COMPILER PACKAGE: what every build wants, and its compiler.
need_build() {
  need cmake cmake
  need ninja ninja-build
  need "$1" "$2"
}

install_package() {
  echo "installing $1"
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  if [ -z "${package_lists_read:-}" ]; then
    "${as_root[@]}" apt-get update -qq
    package_lists_read=yes
  fi
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$1" >/dev/null
}
