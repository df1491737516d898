# Part of ./dev: what a change has to pass besides the test suite.
# shellcheck shell=bash

# The steps of `./dev check`, in their order: name, nothing, description. `check_NAME` runs a step.
# A step without such a function is the whole test suite with the preset of that name.
default_steps=(
  'format||sources are formatted, scripts pass shellcheck'
  'android||the Android build for ARM'
  'tidy||clang-tidy finds nothing in shipped code'
  'sanitize||core tests with address and thread sanitizers'
  'fuzz||fuzzing against the model for a minute'
  'valgrind||valgrind finds nothing in the demo'
  'counts||instructions and allocations have not risen'
  'otlp||the OTLP module with an independent receiver from npm'
  'events||the library does what docs/events.md and its schema say'
  'reference||all declarations of public headers are documented'
  'report||the page of charts in a browser'
  "armv7||tests on an emulated ARM processor, binary interface, size"
  'fresh||demo, test suite and packages on a minimal Debian 12'
)
optional_steps=(
  'collector||the Collector of docs/fleet.md and its back ends (needs Go)'
  'fresh-test||./dev test as the first command on a minimal Debian 12'
  'fresh-packages||the packages on a minimal Debian 12, without the tests'
  'fresh-ci||.ci/run on a minimal Debian 12'
  'asan||the test suite with the address and UB sanitizers'
  'tsan||the test suite with the thread sanitizer'
  'tidy-tests||clang-tidy finds nothing in the tests'
  'clang-libcxx||the test suite with Clang and libc++'
  'release||the test suite with the optimized build'
  "bench||the benchmark passes clang-tidy and runs"
)

tidy_packages=("${test_packages[@]}" clang-14 clang-tidy-14 libc++-14-dev libc++abi-14-dev git)
preset_packages=("${test_packages[@]}" clang-14 libc++-14-dev libc++abi-14-dev)
fuzz_packages=("${test_packages[@]}" clang-14 libclang-rt-14-dev)
otlp_packages=("${test_packages[@]}" protobuf-compiler python3-protobuf)
# Limits on the device: bytes of the stripped library, and the libraries that it may depend on.
library_budget=120000
# The cross-built library has no packed relocations, and fewer equal functions are merged.
cross_built_budget=123000
library_needs=(libkivcommon.so liblog.so.0 libuuid.so.1
  libc++.so.1 libc++abi.so.1 libgcc_s.so.1 libc.so.6 libm.so.6 ld-linux.so.3)
# Android's build system, and a compiler and a linker for its processor.
android_packages=("${device_packages[@]}" golang-go golang-github-google-blueprint-dev
  golang-android-soong-dev golang-github-golang-protobuf-1-3-dev)

check_format() {
  need clang-format-14 shellcheck git
  say "Checking the format of $(sources | wc -l) sources"
  sources | xargs clang-format-14 --dry-run --Werror
  git grep -lI '^#!/usr/bin/env bash' | xargs shellcheck -x
}

# $1: which sources, as a pattern.
run_tidy() {
  need "${tidy_packages[@]}"
  configure clang-libcxx
  say "Checking with clang-tidy"
  git ls-files '*.cpp' | grep -E "$1" | grep -Ev '^(tests/package/|examples/.*Test\.cpp$)' |
    hide_errors_unless_failed xargs -P "$(nproc)" -n 2 \
      clang-tidy-14 --quiet -p build/clang-libcxx
}

check_tidy() {
  run_tidy '^(services|tamsa|modules|platform|testing|examples)/'
  # The tests run without clang where the first command is ./dev test.
  say "Compiling clients' code, and misuse of the library, with clang"
  ctest --preset clang-libcxx --no-tests=error -R '^compile_clangxx$'
}

check_tidy-tests() { run_tidy '^tests/'; }

check_valgrind() {
  need "${test_packages[@]}" valgrind alsa-utils
  build dev render_service tamsa_jsonl
  say "Checking the demo with valgrind"
  local work=build/valgrind
  rm -rf "$work"
  mkdir -p "$work"
  LD_LIBRARY_PATH=build/dev/lib/tamsa/jsonl TAMSA_JSONL_PATH=$work/events.jsonl \
    valgrind --quiet --error-exitcode=1 --leak-check=full --errors-for-leak-kinds=definite \
    build/dev/examples/render_service --quiet -o "$work/binaural.wav" \
    /usr/share/sounds/alsa/Front_Left.wav "$work/missing.wav"
}

check_otlp() {
  need "${otlp_packages[@]}"
  need_receiver
  build dev otlp_reporter exit_program
  say "Checking the module for collectors with a receiver that is not ours"
  tests/modules/otlp/receiver/check_receiver.py build/otlp-receiver \
    build/dev/tests/modules/otlp/otlp_reporter build/dev/tests/system/exit_program \
    build/dev/lib/tamsa/otlp
}

# The names of a preset's tests, but for those of what is not built for the device.
test_names() {
  ctest --preset "$1" -LE '^host$' --show-only | sed -n 's/^ *Test *#[0-9]*: //p' | sort
}

# Describes what clients can see of a library: types, layouts, virtual operations. $1: its library.
describe_abi() {
  abidw --no-corpus-path --no-comp-dir-path --no-show-locs --no-parameter-names \
    --exported-interfaces-only --drop-private-types --type-id-style hash \
    --headers-dir services/kiv/common/include --headers-dir services/kiv/telemetry/include \
    --headers-dir platform/host "build/armv7/services/kiv/$1/libkiv$1.so" |
    sed "s|path='$PWD/|path='|"
}

check_armv7() {
  build armv7
  say "Testing: preset armv7"
  # Most tests in one go: under the emulator a process for each takes minutes.
  hide_errors_unless_failed qemu-arm-static -L build/armv7-sysroot \
    build/armv7/tests/telemetry/telemetry_test --gtest_brief=1
  ctest --preset armv7 --progress -LE '^unit$'
  say "Comparing the device's tests with the host's"
  build dev
  diff <(test_names dev) <(test_names armv7)
  echo "All $(test_names armv7 | wc -l) are the same."
  say "Comparing with the recorded binary interface"
  local library
  for library in common telemetry; do
    describe_abi "$library" >"build/armv7/kiv$library.abi"
    abidiff --harmless "tests/device/kiv$library.abi" "build/armv7/kiv$library.abi"
    echo "libkiv$library.so: no difference"
  done
  say "Checking what the library asks of the device"
  tests/device/check-library build/armv7/services/kiv/telemetry/libkivtelemetry.so \
    "$cross_built_budget" "${library_needs[@]}"
}

check_android() {
  need "${test_packages[@]}" "${android_packages[@]}"
  say "Checking the Android build"
  cmake/armv7/fetch-sysroot build/armv7-sysroot "${sysroot_packages[@]}"
  configure dev
  tests/device/check-blueprints build/dev/compile_commands.json build/device
  tests/device/check-android-build build/dev/compile_commands.json build/device \
    build/armv7-sysroot "$library_budget"
}

# Runs the core's tests under both sanitizers, each program in one process. This takes minutes less
# than the whole suite, which the steps asan and tsan run.
check_sanitize() {
  need "${test_packages[@]}"
  local preset program
  for preset in asan tsan; do
    build "$preset" common_test tamsa_test telemetry_test
    for program in common/common_test tamsa/tamsa_test telemetry/telemetry_test; do
      say "Testing: preset $preset, ${program#*/}"
      TSAN_OPTIONS=halt_on_error=1 \
        hide_errors_unless_failed "build/$preset/tests/$program" --gtest_brief=1
    done
  done
}

check_fuzz() { cmd_fuzz 60; }

details_check() {
  printf 'Steps without STEP:\n'
  list_entries "${default_steps[@]}"
  printf '\nOther steps:\n'
  list_entries "${optional_steps[@]}"
}

cmd_check() {
  local step
  local steps=("$@")
  for step in "${steps[@]}"; do
    find_entry "$step" "${default_steps[@]}" "${optional_steps[@]}" >/dev/null && continue
    printf "dev: unknown step '%s' of ./dev check\n\n" "$step" >&2
    details_check >&2
    exit 2
  done
  (($#)) || steps=("${default_steps[@]%%|*}")
  for step in "${steps[@]}"; do
    if declare -F "check_$step" >/dev/null; then
      "check_$step"
    else
      need "${preset_packages[@]}"
      test_preset "$step"
    fi
    say "Passed: $step"
  done
}

# Inputs that reach new code are kept in build/fuzz/corpus. The next run starts from them.
cmd_fuzz() {
  need "${fuzz_packages[@]}"
  build fuzz model_fuzzer
  say "Fuzzing for ${1:-60} seconds"
  mkdir -p build/fuzz/corpus
  build/fuzz/tests/model/model_fuzzer -max_total_time="${1:-60}" -max_len=1024 -len_control=0 \
    -timeout=60 -verbosity=0 -print_final_stats=1 -artifact_prefix=build/fuzz/ \
    build/fuzz/corpus tests/model/corpus
}

cmd_abi() {
  need "${preset_packages[@]}" git
  local preset library
  for preset in dev:libstdc++ clang-libcxx:libc++ armv7:armv7; do
    build "${preset%:*}" kivcommon kivtelemetry
    for library in common telemetry; do
      tests/system/list-exports "build/${preset%:*}/services/kiv/$library/libkiv$library.so" \
        >"tests/system/exports/${preset#*:}/kiv$library.txt"
    done
  done
  for library in common telemetry; do describe_abi "$library" >"tests/device/kiv$library.abi"; done
  git --no-pager diff --stat -- tests/system/exports tests/device
}
