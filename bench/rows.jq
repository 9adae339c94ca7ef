# Makes rows for bench/table.awk of the runs of one width, from any number of processes: per case, four
# percentiles of its time, of its ratio to the floor, and of the engine's time over it.
# Usage: jq -nr -f bench/rows.jq FILE...
# A file is Google Benchmark's JSON, or has an object per line with the same words for a run.

# The value below which a share (0..1) lies, by the nearest rank; empty where nothing was measured.
def at(share): map(values) | sort | .[(length - 1) * share | round];

[inputs | .benchmarks[]? // .]
| map(select(.run_type != "aggregate"))
| sort_by(.family_index)
| reduce .[] as $run ({}; .[$run.run_name | sub("/iterations:.*"; "")] += [$run])
| to_entries[]
| .key as $name | .value as $runs
| [["p10", 0.1], ["median", 0.5], ["p90", 0.9], ["p99", 0.99]][] as [$statistic, $share]
| ["case", $name, $statistic, ($runs | map(.real_time) | at($share)), ($runs | map(.floor) | at($share)),
   ($runs | map(.engine) | at($share))]
| @tsv
