# Part of ./dev: whether the suite would notice.
# shellcheck shell=bash

cmd_mutants() {
  need "${test_packages[@]}"
  say "Changing the sources, one change at a time, to see whether the suite notices"
  python3 tests/mutation/check_mutants.py build/mutation "$@"
}
