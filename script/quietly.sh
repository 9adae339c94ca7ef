# shellcheck shell=sh
# For the scripts here, which read it in: how they run a command whose output matters only when it fails.

# Shows a command's output only when it fails.
quietly() {
  output=$("$@" 2>&1) && return
  printf '%s\n' "$output"
  return 1
}

# The same for a build, which on a terminal counts on one line.
build() {
  if [ -t 1 ]; then "$@"; else quietly "$@"; fi
}
