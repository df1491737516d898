# Part of ./dev: measuring and counting.
# shellcheck shell=bash

# The library's peers in the benchmark; an emulator that plugins can be loaded into.
bench_packages=("${build_packages[@]}" libspdlog-dev libboost-dev prometheus-cpp-dev)
count_packages=("${test_packages[@]}" valgrind qemu-user python3)

# Counts what one report takes, on the host and on the device's processor, with the options of
# bench/counts/count.py.
count_reports() {
  need "${count_packages[@]}"
  build release counted_reports qemu_sections
  build armv7 counted_reports
  say "Counting instructions and allocations on this processor"
  python3 bench/counts/count.py "$@" "bench/counts/$(uname -m).txt" \
    build/release/bench/counts/counted_reports
  say "Counting instructions and allocations on the device's processor"
  python3 bench/counts/count.py "$@" --qemu "qemu-arm -L build/armv7-sysroot" \
    --plugin build/release/bench/counts/libqemu_sections.so bench/counts/armv7.txt \
    build/armv7/bench/counts/counted_reports
}

check_counts() {
  count_reports
}

check_bench() {
  need "${bench_packages[@]}" clang-tidy-14 git
  configure bench
  say "Checking the benchmark with clang-tidy"
  git ls-files 'bench/*.cpp' |
    hide_errors_unless_failed xargs -P "$(nproc)" -n 2 clang-tidy-14 --quiet -p build/bench \
      --extra-arg=-Wno-ignored-optimization-argument
  cmd_bench --quick
}

details_bench() {
  cat <<'HELP'
Options:
  --json FILE       also write the rows to FILE (always: build/bench/rows.json)
  --filter REGEX    run only the rows that match
  --quick           check that it works, with few repetitions
HELP
}

cmd_bench() {
  need "${bench_packages[@]}"
  build bench kiv_bench
  say "Comparing the library with its peers; rows also go to build/bench/rows.json"
  build/bench/bench/kiv_bench --json build/bench/rows.json "$@"
}

cmd_wakeups() {
  need "${bench_packages[@]}"
  build bench wakeups
  say "Counting how often workers wake"
  build/bench/bench/wakeups
}

cmd_counts() {
  count_reports --record
}

cmd_draw() {
  need python3-matplotlib
  say "Drawing the benchmark's rows to docs/benchmarks"
  # The interpreter that Debian's package is for.
  /usr/bin/python3 bench/draw.py "${1:-build/bench/rows.json}" docs/benchmarks
}
