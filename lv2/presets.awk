# Writes the presets as Turtle: awk -v part=manifest|presets -f presets.awk treadshift.ttl presets.conf
#
# part=manifest gives the entries that let a host find the presets, part=presets their names and values. The
# plug-in's own data comes first: the labels of its scale points, without their number, in lower case up to the
# bracket and joined by hyphens, are the names by which presets.conf calls its colours and modes. The pedal stays
# the player's.

BEGIN {
  plugin = "urn:treadshift:pedal"
  spoken["on"] = "enabled"
  spoken["mode"] = "mode"
  spoken["color"] = "color"
  spoken["tone"] = "tone"
  valueOf["enabled", "off"] = 0
  valueOf["enabled", "on"] = 1
  if (part != "manifest" && part != "presets") fail("part is '" part "'; there are: manifest, presets")
}

function fail(wrong) {
  print "presets.awk: " wrong > "/dev/stderr"
  failed = 1
  exit 1
}

function failHere(wrong) {
  fail(FILENAME ":" FNR ": " wrong)
}

function hyphened(text) {
  text = tolower(text)
  gsub(/[^a-z0-9]+/, "-", text)
  gsub(/^-|-$/, "", text)
  return text
}

function quoted(text) {
  gsub(/[\\"]/, "\\\\&", text)
  return "\"" text "\""
}

function beginPreset(name) {
  if (hyphened(name) == "") failHere("a preset without a name in plain letters")
  if (hyphened(name) in known) failHere("a second preset '" name "'")
  known[hyphened(name)]
  names[++presets] = name
}

function numberIn(symbol, text, lowest, highest) {
  if (text !~ /^[0-9]+([.][0-9]*)?$|^[.][0-9]+$/ || text + 0 < lowest || text + 0 > highest) {
    failHere(symbol " is '" text "'; it would be a name that treadshift.ttl gives or " lowest " to " highest)
  }
  return text + 0
}

function setPort(symbol, text) {
  if ((presets, symbol) in values) failHere("a second " symbol " in '" names[presets] "'")
  if ((symbol, text) in valueOf) values[presets, symbol] = valueOf[symbol, text]
  else values[presets, symbol] = symbol == "tone" ? numberIn(symbol, text, 0, 1) : wholeIn(symbol, text)
}

function wholeIn(symbol, text) {
  if (text ~ /[.]/) failHere(symbol " is '" text "'; it would be a whole number or a name")
  return numberIn(symbol, text, 0, symbol == "color" ? 7 : 1)
}

FNR == 1 { file++ }

# The plug-in's data: which port a line is in, and its scale points.
file == 1 && /lv2:symbol/ { symbol = $2; gsub(/"/, "", symbol) }
file == 1 && /rdfs:label/ { label = $0; sub(/^[^"]*"([0-9]+ )?/, "", label); sub(/[("].*/, "", label) }
file == 1 && /rdf:value/ { valueOf[symbol, hyphened(label)] = $2 }
file == 1 { next }

/^[ \t]*(#.*)?\r?$/ { next }

{ gsub(/^[ \t]+|[ \t\r]+$/, "") }

/^\[.*\]$/ { beginPreset(substr($0, 2, length($0) - 2)); next }

{
  at = index($0, "=")
  if (at == 0 || presets == 0) failHere("'" $0 "' is neither [name] nor key = value below one")
  key = substr($0, 1, at - 1)
  text = substr($0, at + 1)
  gsub(/[ \t]+$/, "", key)
  gsub(/^[ \t]+/, "", text)
  if (key == "description") descriptions[presets] = text
  else if (key in spoken) setPort(spoken[key], text)
  else failHere("no key '" key "'; there are: description, color, tone, mode, on")
}

END {
  if (failed) exit 1
  if (part == "presets") {
    print "@prefix lv2: <http://lv2plug.in/ns/lv2core#> ."
    print "@prefix pset: <http://lv2plug.in/ns/ext/presets#> ."
    print "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> ."
  }
  for (i = 1; i <= presets; i++) {
    printf "\n<urn:treadshift:preset:%s>\n\ta pset:Preset ;\n\tlv2:appliesTo <%s> ;\n", hyphened(names[i]), plugin
    if (part == "manifest") print "\trdfs:seeAlso <presets.ttl> ."
    else printPreset(i)
  }
}

# Some hosts take a preset's value only when it is written as a fraction.
function withPoint(number) {
  return number ~ /[.]/ ? number : number ".0"
}

function printPreset(i, count, symbols, j, separator) {
  printf "\trdfs:label %s", quoted(names[i])
  if (i in descriptions) printf " ;\n\trdfs:comment %s", quoted(descriptions[i])
  count = split("enabled mode color tone", symbols, " ")
  separator = " ;\n\tlv2:port "
  for (j = 1; j <= count; j++) {
    if (!((i, symbols[j]) in values)) continue
    printf "%s[\n\t\tlv2:symbol \"%s\" ;\n", separator, symbols[j]
    printf "\t\tpset:value %s\n\t]", withPoint(values[i, symbols[j]])
    separator = " , "
  }
  print " ."
}
