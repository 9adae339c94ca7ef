# Completes the options of treadshift-render and the values that some of them take. The program itself is asked
# for its options, colours and presets, so none of these can fall behind it. The values of --bits, --channels,
# --mode, --on, --stats and --type stand here a second time.

_treadshift_render_options() {
  "$1" --help 2>/dev/null | grep -oE '^  (-[a-z], )?--[a-z-]+|^  -[A-Za-z], --[a-z-]+' | tr -d ' ' | tr ',' '\n'
}

# The first column of a list, whose columns stand two blanks or more apart.
_treadshift_render_names() {
  "$1" "$2" 2>/dev/null | awk -F '  +' -v column="$3" '{ print $column }'
}

# Names may hold blanks, which would part them in a list of words.
_treadshift_render_presets() {
  local name wanted=${2#[\"\']}
  while IFS= read -r name; do
    case ${name,,} in
      "${wanted,,}"*) COMPREPLY+=("$name") ;;
    esac
  done < <(_treadshift_render_names "$1" --list-presets 1)
}

_treadshift_render() {
  local program=$1 word=$2 before=$3 values=
  COMPREPLY=()
  case $before in
    --color) values=$(_treadshift_render_names "$program" --list-colors 2 | tail -n +2) ;;
    --mode) values='guitar bass' ;;
    --on) values='on off' ;;
    --bits) values='16 24 32 float double' ;;
    --channels) values='each left right mix' ;;
    --type) values='wav flac ogg opus mp3 aiff au caf w64 rf64' ;;
    --stats) values=json ;;
    --preset)
      _treadshift_render_presets "$program" "$word"
      return
      ;;
    --pedal-cc | --pedal-channel | --tone-cc | --tone-channel | -j | --jobs | --tail | --gain | --block) return ;;
    --from | --to | --dry-gain) return ;;
    --out-dir)
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      return
      ;;
    *)
      case $word in
        -*) values=$(_treadshift_render_options "$program") ;;
        *) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
      esac
      ;;
  esac
  [ -z "$values" ] || mapfile -t COMPREPLY < <(compgen -W "$values" -- "$word")
}

complete -o filenames -F _treadshift_render treadshift-render
