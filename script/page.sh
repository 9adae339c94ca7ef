# shellcheck shell=sh
# For the scripts that measure, which read it in: how their figures get onto a page, and where those come from.

# What a page says of its figures: commit, day, machine and system, on one line. Pages that another script has just
# written do not count as changes.
origin() {
  commit=$(git rev-parse --short HEAD 2>/dev/null || echo unknown)
  git diff --quiet HEAD -- . ':!docs' 2>/dev/null || commit="$commit with changes"
  machine=$(sed -n '/^model name/{s/.*: *//p;q}' /proc/cpuinfo)
  system=$(sed -n 's/^PRETTY_NAME="\(.*\)"/\1/p' /etc/os-release)
  printf 'Measured at commit %s on %s: %s, %s processors, %s, g++ %s.\n' \
    "$commit" "$(date -u +%F)" "${machine:-$(uname -m)}" "$(nproc)" "${system:-$(uname -s)}" \
    "$(g++ -dumpfullversion)"
}

# Puts standard input between the lines <!-- NAME --> and <!-- end of NAME --> of a page.
fill_block() { # PAGE NAME
  for mark in "<!-- $2 -->" "<!-- end of $2 -->"; do
    grep -qxF -e "$mark" "$1" || { echo "$1 has no line $mark" >&2; return 1; }
  done
  filled=$(mktemp) || return
  cat >"$filled" && sed -i -e "\\|^<!-- $2 -->\$|,\\|^<!-- end of $2 -->\$|{
    \\|^<!-- $2 -->\$|r $filled
    \\|^<!-- |!d
  }" "$1"
  result=$?
  rm -f "$filled"
  return "$result"
}
