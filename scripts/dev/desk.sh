# Part of ./dev: looking at events.
# shellcheck shell=bash

report_packages=("${demo_packages[@]}" python3-tqdm)
browser_packages=("${report_packages[@]}" chromium fonts-dejavu-core)

# Has the demo write events if it has not yet.
need_events() {
  [[ -s build/demo/events.jsonl ]] || cmd_demo
}

build_report() {
  need "${report_packages[@]}"
  need_npm
  build release report_charts
}

cmd_view() {
  need lnav
  (($#)) || { need_events && set -- build/demo/events.jsonl; }
  # A home of its own, for lnav writes to the one that it has.
  mkdir -p build/lnav
  HOME=$PWD/build/lnav XDG_CONFIG_HOME='' lnav -I tools/lnav "$@"
}

cmd_report() {
  build_report
  (($#)) || { need_events && set -- build/demo/events.jsonl; }
  say "Making a page about $*"
  build/release/bin/kiv-telemetry-report -o build/report.html "$@"
  echo "Open it with: xdg-open $PWD/build/report.html"
}

check_report() {
  need "${browser_packages[@]}"
  build_report
  scripts/npm-install tests/tools/report/browser build/report-browser
  say "Looking at reports in a browser; screenshots go to build/report-browser"
  REPORT_COMMAND=build/release/bin/kiv-telemetry-report BROWSER_DRIVER=build/report-browser \
    SCREENSHOTS=build/report-browser node --test --test-reporter spec tests/tools/report/browser/report.test.mjs
  say "Making reports of large files"
  python3 tests/tools/report/large_files_test.py build/release/bin/kiv-telemetry-report
}
