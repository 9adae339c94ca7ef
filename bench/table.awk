# Prints the rows of one or two treadshift-bench runs, one per width, as one table, then the peers, the worst
# block, the memory and the goals. Usage: awk -f bench/table.awk ROWS...
BEGIN {
  FS = "\t"
  blocks_of_interest = "64 256 1024 4096"
}

$1 == "case" {
  width = $2; key = $3 "/" $4 "/" $5
  if (!(key in seen)) { seen[key] = 1; keys[++key_count] = key }
  widths[width] = 1
  ns[width, key] = $8
  least[width, key] = $11; p50[width, key] = $12; p90[width, key] = $13; p99[width, key] = $14
  engine_over_peer[width, key] = $15
}
$1 == "machine" { gigahertz[$2] = $3 }
$1 == "worst" { worst[$2] = $0 }
$1 == "memory" { memory[$2] = $0 }

function head(width) { return sprintf("%10s %7s %7s %7s %7s", width "-bit ns", "least", "50 %", "90 %", "99 %") }
function row(width, key) {
  if (!((width, key) in ns)) return sprintf("%10s %7s %7s %7s %7s", "", "", "", "", "")
  return sprintf("%10.2f %7.2f %7.2f %7.2f %7.2f", ns[width, key], least[width, key], p50[width, key],
                 p90[width, key], p99[width, key])
}
function print_cases(    k, part, line) {
  print "Time per sample: median ns, then its ratio to the floor (fastest run, 50, 90, 99 % of the runs)."
  line = sprintf("%-28s %5s", "", "block")
  if (64 in widths) line = line "  " head(64)
  if (32 in widths) line = line "  " head(32)
  print line
  for (k = 1; k <= key_count; ++k) {
    split(keys[k], part, "/")
    if (part[2] == "set-up") continue
    line = sprintf("%-28s %5s", part[1] " " part[2], part[3] ? part[3] : "")
    if (64 in widths) line = line "  " row(64, keys[k])
    if (32 in widths) line = line "  " row(32, keys[k])
    if (part[1] == "peer") line = line sprintf("  engine at rest takes %.2f of it", engine_over_peer[64, keys[k]])
    print line
  }
}
# "768000 6144 6144" becomes " 768000 2x6144".
function in_groups(list,    sizes, count, k, times, text) {
  count = split(list, sizes, " ")
  times = 1
  for (k = 1; k <= count; ++k) {
    if (k < count && sizes[k] == sizes[k + 1]) { ++times; continue }
    text = text " " (times > 1 ? times "x" : "") sizes[k]
    times = 1
  }
  return text
}
function print_once(width,    part) {
  if ((width, "engine/set-up/0") in ns) {
    printf "Set-up for a sample rate, %d bits: %.0f us\n", width, ns[width, "engine/set-up/0"] / 1000
  }
  if (width in worst) {
    split(worst[width], part, FS)
    printf "Worst block of 64 in 10 minutes, %d bits, ns: 50 %% %.0f, 99 %% %.0f, 99.9 %% %.0f, worst %.0f (best of %d runs); ", \
           width, part[4], part[5], part[6], part[7], part[3]
    printf "each block in its fastest run: 50 %% %.0f, 99.9 %% %.0f, worst %.0f\n", part[8], part[9], part[10]
  }
  if (width in memory) {
    split(memory[width], part, FS)
    printf "Memory, %d bits: %d bytes created, %d ready at 48 kHz; allocations in 1000 blocks: same size %d, changing %d\n", \
           width, part[3], part[4], part[5], part[6]
    print "  bytes taken in one piece:" in_groups(part[7])
  }
}

# The greatest or the least ratio of a state over the blocks of 64 and up; -1 when one was not measured.
function extreme(width, state, want_most,    sizes, count, k, value, found) {
  count = split(blocks_of_interest, sizes, " ")
  found = -1
  for (k = 1; k <= count; ++k) {
    if (!((width, "engine/" state "/" sizes[k]) in p50)) return -1
    value = p50[width, "engine/" state "/" sizes[k]]
    if (found < 0 || (want_most ? value > found : value < found)) found = value
  }
  return found
}
function goal(width, text, value, limit) {
  printf "  %-64s %6.2f  at most %.2f  %s\n", width " bits: " text, value, limit, value <= limit ? "yes" : "NO"
}
# The largest difference to rest at the same block size.
function most_above_rest(width, state,    sizes, count, k, value, found) {
  count = split(blocks_of_interest, sizes, " ")
  found = -1000
  for (k = 1; k <= count; ++k) {
    value = p50[width, "engine/" state "/" sizes[k]] - p50[width, "engine/rest/" sizes[k]]
    if (value > found) found = value
  }
  return found
}
function print_goals(width,    at_rest, part) {
  if (extreme(width, "rest", 1) > 0)
    goal(width, "rest over the floor, blocks 64 and up", extreme(width, "rest", 1), width == 64 ? 2.2 : 2.6)
  if (extreme(width, "moving", 1) > 0) {
    goal(width, "moving, slowest over fastest block size, 64 and up",
         extreme(width, "moving", 1) / extreme(width, "moving", 0), 1.15)
    if (width == 64 && (width, "floor/pow/0") in p50)
      goal(width, "moving less one pow, over the floor", extreme(width, "moving", 1) - p50[width, "floor/pow/0"], 4)
  }
  if (extreme(width, "tail", 1) > 0) goal(width, "tail less rest, over the floor", most_above_rest(width, "tail"), 0.3)
  if (extreme(width, "decay", 1) > 0) goal(width, "decay less rest, over the floor", most_above_rest(width, "decay"), 0.3)
  at_rest = p50[width, "engine/rest/256"]
  if (at_rest && (width, "engine/fades+tone/256") in p50) {
    goal(width, "fades running, over rest, block 256", p50[width, "engine/fades/256"] / at_rest, 1.6)
    goal(width, "Tone changed in every block, over rest, block 256", p50[width, "engine/tone/256"] / at_rest, 1.6)
    goal(width, "both, over rest, block 256", p50[width, "engine/fades+tone/256"] / at_rest, 1.6)
  }
  if (width in worst) {
    split(worst[width], part, FS)
    goal(width, "worst block over the median, each block in its fastest run", part[10] / part[8], 3)
  }
  if (width in memory) {
    split(memory[width], part, FS)
    goal(width, "allocations in blocks of the same size", part[5], 0)
    goal(width, "allocations in blocks of changing size, as announced", part[6], 0)
  }
}

END {
  print_cases()
  print ""
  if (64 in widths) print_once(64)
  if (32 in widths) print_once(32)
  print ""
  print "Goals"
  if (64 in widths) print_goals(64)
  if (32 in widths) print_goals(32)
  for (width in gigahertz) speeds = speeds sprintf(" %s (%d bits)", gigahertz[width], width)
  print "Core speed in GHz while measuring:" speeds
}
