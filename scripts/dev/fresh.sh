# Part of ./dev: what a new user meets.
# shellcheck shell=bash

# Runs commands in a new clone of HEAD on a minimal Debian 12. $1: the commands.
run_fresh() {
  need debootstrap git
  local directory=build/fresh
  mkdir -p "$directory"
  [[ -z $(git status --porcelain) ]] || echo "Uncommitted changes are not part of the clone."
  rm -rf "$directory/repository"
  git clone --quiet --bare --depth 1 "file://$PWD" "$directory/repository"
  run_as_root scripts/in-fresh-root "$directory" "$directory/repository" "$1"
}

check_fresh() {
  say "Running ./dev demo, then ./dev test, on a minimal Debian 12"
  rm -rf build/fresh/shared
  run_fresh './dev demo && ./dev test && ./dev packages && cp build/package/packages/*.deb /srv/shared'
  install_fresh
}

# Installs the packages in build/fresh/shared on another system, which has none of what built them.
install_fresh() {
  say "Installing the Debian packages on a minimal Debian 12"
  run_fresh 'tests/package/check-installed /srv/shared'
}

check_fresh-packages() {
  say "Making Debian packages on a minimal Debian 12"
  rm -rf build/fresh/shared
  run_fresh './dev packages && cp build/package/packages/*.deb /srv/shared'
  install_fresh
}

check_fresh-test() {
  say "Running ./dev test on a minimal Debian 12"
  run_fresh './dev test'
}

check_fresh-ci() {
  say "Running .ci/run on a minimal Debian 12"
  run_fresh '.ci/run'
}
