# Part of ./dev: looking at events.
# shellcheck shell=bash

report_packages=("${demo_packages[@]}" python3-tqdm)
browser_packages=("${report_packages[@]}" chromium fonts-dejavu-core)

invoked_from=$OLDPWD

# Sets `files` to those that are named, from where the command was called, or else to the demo's
# events.
choose_files() {
  local file
  files=()
  for file in "$@"; do
    [[ $file == - || $file == /* ]] || file=$invoked_from/$file
    files+=("$file")
  done
  ((${#files[@]})) && return
  [[ -s build/demo/events.jsonl ]] || cmd_demo
  files=(build/demo/events.jsonl)
}

build_report() {
  need "${report_packages[@]}"
  need_npm
  build examples report_charts
}

cmd_view() {
  need lnav
  local files
  choose_files "$@"
  # A home of its own, for lnav writes to the one that it has.
  mkdir -p build/lnav
  HOME=$PWD/build/lnav XDG_CONFIG_HOME='' lnav -I tools/lnav "${files[@]}"
}

cmd_report() {
  local files
  choose_files "$@"
  build_report
  say "Making a page about ${files[*]}"
  build/examples/bin/kiv-telemetry-report -o build/report.html "${files[@]}"
  echo "Open it with: xdg-open $PWD/build/report.html"
}

check_report() {
  need "${browser_packages[@]}"
  build_report
  scripts/npm-install tests/tools/report/browser build/report-browser
  say "Looking at reports in a browser; screenshots go to build/report-browser"
  REPORT_COMMAND=build/examples/bin/kiv-telemetry-report BROWSER_DRIVER=build/report-browser \
    SCREENSHOTS=build/report-browser \
    node --test --test-reporter spec tests/tools/report/browser/report.test.mjs
  say "Making reports of large files"
  python3 tests/tools/report/large_files_test.py build/examples/bin/kiv-telemetry-report
}
