# Part of ./dev: a real Collector, and the engines behind it.
# shellcheck shell=bash

collector_packages=("${test_packages[@]}")
collector_sources=tests/modules/otlp/collector

# Succeeds if there is a Go that is new enough for the module in a directory.
has_go_for() {
  local wanted have
  command -v go >/dev/null || return 1
  wanted=$(awk '$1 == "go" { print $2 }' "$1/go.mod")
  have=$(GOTOOLCHAIN=local go env GOVERSION)
  [[ $(printf '%s\n' "$wanted" "${have#go}" | sort -V | head -n 1) == "$wanted" ]]
}

# Builds a program from published Go modules, as they are pinned in a directory.
# $1: the directory, $2: the program, $3: its package.
build_go() {
  say "Building ${2##*/} from its Go modules; the first time this takes a while"
  mkdir -p "$(dirname "$2")"
  (cd "$1" && GOTOOLCHAIN=local GOFLAGS="${GOFLAGS-} -mod=readonly -trimpath" \
    go build -ldflags='-s -w' -o "$OLDPWD/$2" "$3")
}

build_collector() { build_go "$collector_sources" build/collector/otelcol .; }

# Sets `receiver` to what the demo of a fleet sends to: a Collector that is installed, else one that
# is built here, else the receiver from npm.
choose_receiver() {
  local name
  for name in otelcol otelcol-contrib; do
    receiver=$(command -v "$name") && return
  done
  if has_go_for "$collector_sources"; then
    build_collector
    receiver=build/collector/otelcol
  else
    need_receiver
    receiver=build/otlp-receiver
  fi
}

# Unpacks Debian's Prometheus without installing it: the package would start a service.
unpack_prometheus() {
  [[ -x build/collector/prometheus/usr/bin/prometheus ]] && return
  say "Unpacking Debian's prometheus"
  rm -rf build/collector/prometheus
  mkdir -p build/collector/prometheus
  (cd build/collector/prometheus && apt-get -q -o APT::Sandbox::User= download prometheus &&
    dpkg-deb -x prometheus_*.deb .)
}

# COLLECTOR_CHECK_SECONDS makes the load shorter: 20 at least, 30 by default.
check_collector() {
  if ! has_go_for "$collector_sources" || ! has_go_for "$collector_sources/loki"; then
    say "Not checked: no Go that is new enough for the Collector and Loki (see go.mod)"
    exit 77
  fi
  need "${collector_packages[@]}"
  unpack_prometheus
  build_collector
  build_go "$collector_sources/loki" build/collector/loki github.com/grafana/loki/v3/cmd/loki
  build release fleet_load tamsa_otlp
  say "Checking the Collector of docs/fleet.md, with Loki for logs and Prometheus for metrics"
  "$collector_sources/check_collector.py" --seconds "${COLLECTOR_CHECK_SECONDS:-30}" \
    docs/fleet.md build/collector/otelcol build/collector/loki \
    build/collector/prometheus/usr/bin/prometheus build/release
}
