# Part of ./dev: what is made for users: the API reference and the Debian packages.
# shellcheck shell=bash

packages_packages=("${build_packages[@]}" python3 doxygen dpkg-dev file)

# Makes build/reference. Fails if a declaration of a public header is not documented.
build_reference() {
  need doxygen
  say "Building the reference of the public headers"
  rm -rf build/reference
  mkdir -p build
  doxygen docs/reference/Doxyfile
}

cmd_docs() {
  build_reference
  echo "Open it with: xdg-open $PWD/build/reference/index.html"
}

cmd_packages() {
  need "${packages_packages[@]}"
  build package
  say "Making Debian packages"
  local out=build/package/packages
  rm -rf "$out"
  (cd build/package && cpack -G DEB -B packages) >build/packages.log 2>&1 ||
    { cat build/packages.log >&2 && return 1; }
  rm -rf "$out/_CPack_Packages"
  ls -1 "$PWD/$out"/*.deb
}
