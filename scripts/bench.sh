#!/usr/bin/env bash
# Builds the benchmarks in Release (build-bench/), runs them and prints:
#   - each hot path beside its floor (a bare parse and dump of the same text)
#     with the ratio and its bound;
#   - how the participant events scale with the size of the meeting;
#   - what the library costs at rest (memory, threads, idle wake-ups).
#   bench.sh [SECONDS_PER_RUN]   (0.2 by default)
# Exits 1 when a path is over its bound.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh python3
min_time=${1:-0.2}
dir=build-bench
scripts/build.sh "$dir" --target orvane_bench -DCMAKE_BUILD_TYPE=Release -DORVANE_BUILD_TESTS=OFF \
  -DORVANE_BUILD_STRESS=OFF -DORVANE_BUILD_BENCH=ON
scripts/build.sh "$dir" --target orvane-resource-probe
out="$dir/bench-results"
mkdir -p "$out"

# Each path and its floor are run in short repetitions, interleaved in random
# order so that both meet the same load, and the least of each is kept: on a
# shared machine other work only adds time.
echo "Running the path benchmarks (CPU time of the calling thread, least of 15 interleaved runs)..."
"$dir/bench/orvane_bench" --benchmark_filter='^BM_(ParticipantJoin|CallSignalIn|RestSmall|RestLarge|ActiveJoinLeave|TimeoutArmCancel)' \
  --benchmark_min_time="$min_time" --benchmark_repetitions=15 --benchmark_enable_random_interleaving=true \
  --benchmark_report_aggregates_only=true \
  --benchmark_out="$out/paths.json" --benchmark_out_format=json >/dev/null
echo "Running the meeting-size benchmarks..."
"$dir/bench/orvane_bench" --benchmark_filter='^BM_(JoinSingle|JoinAnnounced|JoinBurst|Leave|AudioStatusChange|EndpointMerge)/' \
  --benchmark_min_time="$min_time" --benchmark_out="$out/scaling.json" --benchmark_out_format=json >/dev/null
probe=$("$dir/bench/orvane-resource-probe" 3)

python3 - "$out/paths.json" "$out/scaling.json" "$probe" <<'PY'
import json, sys

paths = {}
for b in json.load(open(sys.argv[1]))["benchmarks"]:
    if b.get("aggregate_name") == "min":
        paths[b["run_name"]] = b
scaling = json.load(open(sys.argv[2]))["benchmarks"]

def ns(b):
    scale = {"ns": 1, "us": 1e3, "ms": 1e6}[b["time_unit"]]
    return b["cpu_time"] * scale

def show(v):
    return f"{v / 1000:.2f} µs" if v >= 1000 else f"{v:.0f} ns"

# name, what it is, bound on the ratio to the floor, bound on the time itself
rows = [
    ("BM_ParticipantJoin", "participant join, onProcess -> onConfNotify", 1.3, 1e9 / 150000),
    ("BM_CallSignalIn", "call signal in (OK to REGISTER)", None, None),
    ("BM_RestSmall", "REST out, confinfo", 1.5, None),
    ("BM_RestLarge", "REST out, confcreate", 1.5, None),
    ("BM_ActiveJoinLeave", "active join + leave", None, 30000),
    ("BM_TimeoutArmCancel", "arm + cancel a time-out", None, None),
]
over = False
print()
print(f"{'path':45} {'library':>11} {'floor':>11} {'ratio':>7} {'bound':>16}  ")
for name, what, ratio_bound, time_bound in rows:
    b = paths.get(name)
    if b is None:
        print(f"{what:45} {'missing':>11}")
        over = True
        continue
    lib = ns(b)
    floor = paths.get(name + "_Floor")
    ratio = lib / ns(floor) if floor else None
    bounds, ok = [], True
    if ratio_bound is not None:
        bounds.append(f"<= {ratio_bound}x")
        ok = ok and ratio <= ratio_bound
    if time_bound is not None:
        bounds.append(f"<= {show(time_bound)}")
        ok = ok and lib <= time_bound
    over = over or not ok
    label = b.get("label", "")
    print(f"{what:45} {show(lib):>11} {show(ns(floor)) if floor else '-':>11} "
          f"{f'{ratio:.2f}x' if ratio else '-':>7} {', '.join(bounds) or '-':>16}  "
          f"{'' if ok else 'OVER '}{label}")
join = paths.get("BM_ParticipantJoin")
if join:
    print(f"\nparticipant joins per second on one core: {1e9 / ns(join):,.0f}")

print("\nParticipant events by meeting size (CPU time per event):")
table = {}
for b in scaling:
    name, _, n = b["name"].partition("/")
    per = b.get("per_event")
    table.setdefault(name, {})[int(n)] = per * 1e9 if per else ns(b)
sizes = sorted({n for v in table.values() for n in v})
print(f"{'event':22}" + "".join(f"{'N=' + str(n):>12}" for n in sizes))
for name, by in table.items():
    print(f"{name[3:]:22}" + "".join(f"{show(by[n]) if n in by else '-':>12}" for n in sizes))

fields = dict(kv.split("=") for kv in sys.argv[3].split())
print("\nAt rest, created and registered (doubles for transport and engine):")
print(f"  memory added over the bare process: {int(fields['rss_added_kb']) / 1024:.1f} MB "
      f"({fields['rss_bare_kb']} kB -> {fields['rss_kb']} kB RSS)")
print(f"  threads of the process: {fields['threads']}")
print(f"  wake-ups of the library's threads in {fields['idle_seconds']} s idle: {fields['idle_wakeups']}")
sys.exit(1 if over else 0)
PY
