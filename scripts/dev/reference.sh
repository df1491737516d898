# Part of ./dev: that what is written about the library is true and complete.
# shellcheck shell=bash

events_packages=("${demo_packages[@]}" "${test_packages[@]}" python3-jsonschema)

check_events() {
  need "${events_packages[@]}"
  build dev event_tap events_document tamsa_jsonl render_service exit_program readme_client \
    telemetry_test model_test endurance_test render_service_test system_test derived_client_test \
    sample_reporter
  say "Checking that events are what docs/events.md and docs/events.schema.json say"
  tests/events/check_events.py build/dev
}

check_reference() {
  build_reference
  echo "build/reference/index.html: $(find build/reference -name '*.html' | wc -l) pages"
}
