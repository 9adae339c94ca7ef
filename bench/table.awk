# Makes one table of what the benchmarks of both widths found, judges the goals, and exits with 1 when one is
# missed. Usage: awk -f bench/table.awk width=64 ROWS... width=32 ROWS...
# -v page=1 makes what docs/performance.md shows instead: the goals as a table, and some rows.
#
# Rows are tab separated. A case has four, one per statistic of its runs:
#   case, name, statistic (p10, median, p90, p99), ns per sample, ratio to the floor, engine's time over its own
# and treadshift-limits writes "worst", "load" (one per block size) and "memory".
BEGIN {
  FS = "\t"
  width_count = split("64 32", widths, " ")
  state_blocks = "64 256 1024 4096" # those that the goals are about
  faint_blocks = "64 256"           # the same for next to nothing to hear
  load_count = split("64 128 256", load_blocks, " ")
}

$1 == "case" {
  if (!($2 in known)) { known[$2] = 1; names[++name_count] = $2 }
  ns[width, $2, $3] = $4; floor[width, $2, $3] = $5; engine[width, $2, $3] = $6
}
$1 == "worst" || $1 == "memory" { once[width, $1] = $0 }

$1 == "load" { load[width, $2] = $0 }

# The four statistics of a ratio, or room for them.
function spread(ratio, width, name) {
  if (ratio[width, name, "median"] == "") return sprintf("%30s", "")
  return sprintf(" %7.2f %6.2f %6.2f %7.2f", ratio[width, name, "p10"], ratio[width, name, "median"],
                 ratio[width, name, "p90"], ratio[width, name, "p99"])
}
function median_ns(width, name) {
  if (ns[width, name, "median"] == "") return sprintf("%10s", "")
  return sprintf("%10.2f", ns[width, name, "median"])
}
function spread_head() { return sprintf(" %7s %6s %6s %7s", "10 %", "50 %", "90 %", "99 %") }

# Whether a case is among the few that the page shows.
function is_shown(name) { return !page || name ~ /^(floor\/|engine\/(rest|moving)\/256$|peer\/)/ }

function print_cases(    k, part) {
  if (!page) print "Time per sample: median in ns, then its ratio to the floor: 10, 50, 90 and 99 % of the runs lie below."
  printf "%-24s %5s%10s%s%10s%s\n", "", "block", "64-bit ns", spread_head(), "32-bit ns", spread_head()
  for (k = 1; k <= name_count; ++k) {
    split(names[k], part, "/")
    if (part[1] == "peer" || part[2] == "set-up" || !is_shown(names[k])) continue
    printf "%-24s %5s%s%s%s%s\n", part[1] " " part[2], part[3], median_ns(64, names[k]),
           spread(floor, 64, names[k]), median_ns(32, names[k]), spread(floor, 32, names[k])
  }
}
function print_peers(    k, part) {
  if (!page) print "Peers, 64 bits, blocks of 256: median in ns, its ratio to the floor, and the engine's time at rest over it."
  printf "%-24s %5s%10s%s  %s\n", "", "", "ns", spread_head(), spread_head()
  for (k = 1; k <= name_count; ++k) {
    split(names[k], part, "/")
    if (part[1] != "peer") continue
    printf "%-30s%s%s  %s\n", part[2], median_ns(64, names[k]), spread(floor, 64, names[k]),
           spread(engine, 64, names[k])
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
function print_set_up(width) {
  printf "Set-up for a sample rate, %d bits: %.0f us\n", width, ns[width, "engine/set-up", "median"] / 1000
}
function print_worst(width,    part) {
  split(once[width, "worst"], part, FS)
  printf "Worst block of 64 in ten minutes, %d bits, ns: 50 %% %d, 99 %% %d, 99.9 %% %d, worst %d (best of %d runs)\n",
         width, part[3], part[4], part[5], part[6], part[2]
  printf "  each block in its fastest run: 50 %% %d, 99.9 %% %d, worst %d\n", part[7], part[8], part[9]
}
# Shares of the period in per cent.
function print_load(width,    k, part) {
  for (k = 1; k <= load_count; ++k) {
    split(load[width, load_blocks[k]], part, FS)
    printf "200 effects in blocks of %d, %d bits, %% of the period: 50 %% %.1f, 99 %% %.1f, 99.9 %% %.1f, worst %.1f," \
           " late %d (best of %d runs)\n", load_blocks[k], width, 100 * part[4], 100 * part[5], 100 * part[6],
           100 * part[7], part[12], part[3]
    printf "  each period in its fastest run: 50 %% %.1f, 99 %% %.1f, 99.9 %% %.1f, worst %.1f, late %d;" \
           " each block, ns: 50 %% %d, 99 %% %d, 99.9 %% %d, worst %d\n", 100 * part[8], 100 * part[9],
           100 * part[10], 100 * part[11], part[13], part[14], part[15], part[16], part[17]
  }
}
function print_memory(width,    part) {
  split(once[width, "memory"], part, FS)
  printf "Memory, %d bits: %d bytes created, %d ready at 48 kHz\n", width, part[2], part[3]
  print "  bytes taken in one piece:" in_groups(part[6])
}

# Floor ratio of a state at a block size.
function ratio(width, state, block) { return floor[width, "engine/" state "/" block, "median"] }
# The greatest ratio of a state over the blocks of the goals, less that of another (none: ""); "" when one is
# missing.
function most(width, state, other,    sizes, count, k, value, found) {
  count = split(state_blocks, sizes, " ")
  found = ""
  for (k = 1; k <= count; ++k) {
    if (ratio(width, state, sizes[k]) == "") return ""
    value = ratio(width, state, sizes[k]) - (other == "" ? 0 : ratio(width, other, sizes[k]))
    if (found == "" || value > found) found = value
  }
  return found
}
function least(width, state,    sizes, count, k, found) {
  count = split(state_blocks, sizes, " ")
  found = most(width, state)
  for (k = 1; k <= count && found != ""; ++k)
    if (ratio(width, state, sizes[k]) < found) found = ratio(width, state, sizes[k])
  return found
}
# What a state costs at most over another one, in the blocks of next to nothing.
function dearest(width, state, other,    sizes, count, k, value, found) {
  count = split(faint_blocks, sizes, " ")
  found = ""
  for (k = 1; k <= count; ++k) {
    value = over(ratio(width, state, sizes[k]), ratio(width, other, sizes[k]))
    if (value == "") return ""
    if (found == "" || value > found) found = value
  }
  return found
}
function less(minuend, subtrahend) { return minuend == "" || subtrahend == "" ? "" : minuend - subtrahend }
function over(dividend, divisor) { return dividend == "" || !divisor ? "" : dividend / divisor }

function goal(width, text, value, limit,    verdict) {
  verdict = value == "" ? "not measured" : value <= limit ? "yes" : "NO"
  if (!page)
    printf "  %d bits  %-58s %7s  at most %.2f  %s\n", width, text, value == "" ? "-" : sprintf("%.2f", value), limit,
           verdict
  if (verdict != "yes") missed[++missed_count] = width " bits: " text
  if (!((text, 64) in limits) && !((text, 32) in limits)) goals[++goal_count] = text
  limits[text, width] = limit
  found[text, width] = value
}
function cell(text, width) {
  if (!((text, width) in limits)) return "not judged"
  return (found[text, width] == "" ? "-" : sprintf("%.2f", found[text, width])) "/" limits[text, width]
}
function print_goals(    k) {
  print "| Goal: measured/at most | 64 bits | 32 bits |\n|---|---|---|"
  for (k = 1; k <= goal_count; ++k) printf "| %s | %s | %s |\n", goals[k], cell(goals[k], 64), cell(goals[k], 32)
}
function print_limits() {
  for (w = 1; w <= width_count; ++w) {
    print_set_up(widths[w])
    print_worst(widths[w])
    print_load(widths[w])
    print_memory(widths[w])
  }
}
function judge_states(width,    pow) {
  goal(width, "rest over the floor, blocks 64 and up", most(width, "rest"), width == 64 ? 2.2 : 2.6)
  goal(width, "moving, slowest over fastest block size, 64 and up",
       over(most(width, "moving"), least(width, "moving")), 1.15)
  pow = floor[width, "floor/pow", "median"]
  if (width == 64) goal(width, "moving less one pow, over the floor", less(most(width, "moving"), pow), 4)
  goal(width, "tail less rest, over the floor", most(width, "tail", "rest"), 0.3)
  goal(width, "decay less rest, over the floor", most(width, "decay", "rest"), 0.3)
  goal(width, "fades running and Tone changing, over rest, block 256",
       over(ratio(width, "fades+tone", 256), ratio(width, "rest", 256)), 1.6)
  goal(width, "silence after loud playing, over rest", dearest(width, "silence", "rest"), 1.1)
  goal(width, "silence after loud playing, over moving", dearest(width, "silence+moving", "moving"), 1.1)
  goal(width, "denormal input, over rest", dearest(width, "denormals", "rest"), 1.1)
  goal(width, "denormal input, over moving", dearest(width, "denormals+moving", "moving"), 1.1)
  goal(width, "denormal input while off, over rest", dearest(width, "denormals+off", "rest"), 1.1)
}
function judge_limits(width,    worst, memory, part, k) {
  split(once[width, "worst"], worst, FS)
  split(once[width, "memory"], memory, FS)
  goal(width, "worst block over the median, each in its fastest run", over(worst[9], worst[7]), 3)
  for (k = 1; k <= load_count; ++k) {
    split(load[width, load_blocks[k]], part, FS)
    goal(width, "200 effects, late periods in their fastest run, block " load_blocks[k], part[13], 0)
  }
  goal(width, "allocations in 1000 blocks of the same size", memory[4], 0)
  goal(width, "allocations in 1000 blocks of changing size, announced", memory[5], 0)
}

END {
  if (!page) {
    print_cases()
    print ""
    print_peers()
    print ""
    print_limits()
    print "\nGoals, judged by medians"
  }
  for (w = 1; w <= width_count; ++w) {
    judge_states(widths[w])
    judge_limits(widths[w])
  }
  if (page) {
    print_goals()
    print "\n```text"
    print_cases()
    print ""
    print_peers()
    print "```"
    exit 0
  }
  for (k = 1; k <= missed_count; ++k) print "bench: goal missed: " missed[k] > "/dev/stderr"
  exit missed_count > 0
}
