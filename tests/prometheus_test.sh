#!/usr/bin/env bash
# Lets Prometheus' own programs read the figures of a bus: from the file, by way of the node exporter up to an alert,
# and as OpenMetrics.
# usage: prometheus_test.sh SOURCE_DIR ZUNIC_INSPECT DEMO_BUS PROMETHEUS_DIR
set -euo pipefail
docs=$1/docs
small=$1/demo/scenarios/small.json
inspect=$2
demo_bus=$3
programs=$4
scratch=$(mktemp -d)
channel=enquirer_prometheus.$$
pids=()

clean_up() {
  [ ${#pids[@]} -eq 0 ] || kill "${pids[@]}" 2>/dev/null || true
  wait
  rm -rf "$scratch"
}
trap clean_up EXIT

fail() {
  echo "$*" >&2
  exit 1
}

# Tries the command until it succeeds.
await() {
  local deadline=$((SECONDS + 60))
  until "$@"; do
    [ "$SECONDS" -lt "$deadline" ] || fail "in vain: $*: $(tail -n 40 -- ./*.log ./*.diff)"
    sleep 0.1
  done
}

# Starts a server that takes a free port; `address` becomes where it is.
serve() {
  local name=$1
  shift
  "$@" >"$name.log" 2>&1 &
  pids+=($!)
  await grep -q 'Listening on' "$name.log"
  address=$(sed -n 's/.*Listening on.* address=\([0-9.:]*\).*/\1/p' "$name.log")
}

ask() { "$programs/promtool" query instant -o json "http://$prometheus" "$1"; }

# Whether Prometheus has exactly these figures of a job: a line each, with the labels as JSON and the number.
has() {
  ask "$2" | jq -r '.[] | "\(.metric | del(.instance, .job) | tojson) \(.value[1])"' | LC_ALL=C sort >got
  diff "$1" got >"$1.diff"
}

has_any() { ask "$1" | jq -e 'length > 0' >/dev/null; }

# What is to be expected of the saved state under that name.
expect_figures() {
  jq -rn --slurpfile states state.json --slurpfile checks check.json --arg channel "$1" -f expected.jq |
    LC_ALL=C sort >"$2"
}

# What is compared: what does not differ from look to look, and the findings that are there.
figures_of() {
  local job="job=\"$1\""
  echo "{__name__=~\"zunic_.*\",__name__!~\".*_seconds|zunic_findings\",$job} or zunic_findings{$job} > 0"
}

cd "$scratch"
for program in promtool prometheus prometheus-node-exporter; do
  [ -x "$programs/$program" ] || fail "there is no $programs/$program (./dev prometheus fetches it)"
done
cat >expected.jq <<'END'
def figure(name; labels; value): "\({__name__: name, channel: $channel} + labels | tojson) \(value)";
def count(condition): map(select(condition)) | length;
$states[0] as $state | $checks[0].findings as $findings | $state.message_storage as $messages |
figure("zunic_up"; {}; 1),
figure("zunic_links"; {}; [$state.interfaces[].receivers[]] | length),
figure("zunic_communicators"; {}; $state.communicators | length),
figure("zunic_dead_processes"; {}; $state.communicators | map(select(.living == "no").pid) | unique | length),
figure("zunic_messages_written_modulo_65536"; {}; $messages.writer_counter),
(("skeleton", "stub") as $type | ("registered", "preregistered") as $registration |
  figure("zunic_interfaces"; {state: $registration, type: $type};
    $state.interfaces | count(.type == $type and .state == $registration))),
($messages.totals | to_entries[] | figure("zunic_message_slots"; {state: .key}; .value)),
($state.memory_managers | to_entries[] | {manager: "\(.key)"} as $manager |
  figure("zunic_memory_blocks"; $manager; .value.total_blocks),
  figure("zunic_memory_blocks_used"; $manager; .value.used_blocks),
  figure("zunic_memory_block_size_bytes"; $manager; .value.block_size)),
($findings | group_by([.code, .severity])[] |
  figure("zunic_findings"; .[0] | {code, severity}; length))
END

# The rules say what they are meant to say.
"$programs/promtool" check rules "$docs/zunic_alerts.yml"
"$programs/promtool" test rules "$docs/zunic_alerts_test.yml"

# A bus, and the same one as a saved state under a name that does its worst.
exec {ready}< <(exec "$demo_bus" --channel "$channel" "$small")
bus=$!
pids+=("$bus")
read -r -t 60 line <&"$ready" || fail "no demo bus: $line"
mkdir textfiles
"$inspect" save state.json -c "$channel"
"$inspect" check --json --from state.json --from state.json >check.json || true
jq '.channel = ("a\"b\\c\nd" | explode) + [255, 0, 195, 169]' state.json >hostile.json
"$inspect" metrics --from hostile.json --from hostile.json --output hostile.prom
"$inspect" metrics -c "$channel" --again 10ms --output textfiles/zunic.prom
for file in hostile.prom textfiles/zunic.prom; do
  "$programs/promtool" check metrics <"$file" >lint 2>&1 || fail "$file: $(cat lint)"
  [ ! -s lint ] || fail "$file: $(cat lint)"
done
[ "$(stat -c %a textfiles/zunic.prom)" = 644 ] || fail "the node exporter may not read it"

# A full disk leaves what was there.
cp textfiles/zunic.prom before.prom
status=0
(trap '' XFSZ && ulimit -f 1 && "$inspect" metrics -c "$channel" --again 0 --output textfiles/zunic.prom) 2>err || status=$?
[ "$status" -eq 2 ] || fail "status $status: $(cat err)"
cmp before.prom textfiles/zunic.prom
[ "$(ls textfiles)" = zunic.prom ] || fail "left behind: $(ls textfiles)"

serve exporter "$programs/prometheus-node-exporter" --collector.disable-defaults --collector.textfile \
  --collector.textfile.directory=textfiles --web.listen-address=127.0.0.1:0
exporter=$address
serve openmetrics python3 -u -c '
import http.server
class Page(http.server.SimpleHTTPRequestHandler):
    extensions_map = {".prom": "application/openmetrics-text; version=1.0.0; charset=utf-8"}
server = http.server.HTTPServer(("127.0.0.1", 0), Page)
print(f"Listening on address=127.0.0.1:{server.server_port}")
server.serve_forever()'
cat >prometheus.yml <<END
global: { scrape_interval: 500ms, scrape_timeout: 500ms, evaluation_interval: 200ms }
rule_files: [ "$docs/zunic_alerts.yml" ]
scrape_configs:
  - { job_name: exporter, static_configs: [ { targets: [ "$exporter" ] } ] }
  - { job_name: openmetrics, metrics_path: /hostile.prom, static_configs: [ { targets: [ "$address" ] } ] }
END
serve prometheus "$programs/prometheus" --config.file=prometheus.yml --storage.tsdb.path=data \
  --web.listen-address=127.0.0.1:0
prometheus=$address

expect_figures "$channel" live
await has live "$(figures_of exporter)"
expect_figures $'a"b\\c\nd\xef\xbf\xbd\xef\xbf\xbd\xc3\xa9' hostile
await has hostile "$(figures_of openmetrics)"
await has_any 'ALERTS{alertname="ZunicFinding",code="dead-process",job="exporter"}'

# The bus goes, and who watches it is told.
kill "$bus"
wait "$bus" || fail "the demo bus ended with status $?"
status=0
"$inspect" metrics -c "$channel" --output textfiles/zunic.prom 2>err || status=$?
[ "$status" -eq 4 ] || fail "status $status: $(cat err)"
printf '{"__name__":"zunic_up","channel":"%s"} 0\n' "$channel" >down
await has down "$(figures_of exporter)"
await has_any 'ALERTS{alertname="ZunicBusDown",job="exporter"}'
