// The words of the help around the list of options.
#pragma once

constexpr char kHelpDescription[] =
    R"(Bends the pitch of a recording with the Treadshift pedal.

Reads every sound file that libsndfile knows; - is the standard input. The
output's name sets its type: .wav .flac .ogg .opus .mp3 .aiff .au .caf .w64
.rf64; - is the standard output and gets AU unless --type says otherwise. The
output keeps the sample rate, channels and sample format of the input, and its
title, artist, cue points and the like as far as it holds them.
)";

constexpr char kHelpValues[] =
    R"help(Values:
A VALUE is one number for the whole recording, or points seconds:value, as in
0:0,1.5:1,3:0. The pedal and the tone move in a straight line from point to
point; colour, mode and on/off stay until the next point. Before the first
point its value holds, after the last point that one's; where several points
have one time, the value jumps from the first of them to the last. A FILE is a
CSV text or a standard MIDI file. What no option sets keeps the pedal's own
setting (on, guitar, tone 0.8, colour 4, heel).

Shapes:
Pedal, tone and interval also repeat a shape, SHAPE:SECONDS:VALUE-VALUE, until
the recording ends, wherever in its period that is. It begins with the first
value at 0 s. Without values the pedal goes from heel to toe.
  triangle:4 or triangle:4:0-1
      to the toe in a straight line of 2 seconds, back in 2, and so on
  sine:4:0.2-0.8
      the same way and time between 0.2 and 0.8, with soft turns
  steps:4:0-0.5-1-0.5
      each value for one second, an equal part of the 4

Intervals:
An interval is a number of semitones (st) or cents (c), such as +7st or -50c,
or points or a shape of such: 0:0c,1.5:+7st,3:-200c or sine:0.2:-20c-+20c. It
moves in a straight line, as the pedal does. Unless --color or a preset sets
the colour, the best for all its values is taken and told: one without dry
sound if there is one, then the one of the smallest range. A colour that
changes is refused beside it.

CSV files:
Lines "seconds,value" with , or ; or a tab between; with ; or a tab, 0,5 may
stand for 0.5. The first line may name the columns, in any order and among
others: time and pedal, tone, interval or value. There the scale of values is
told, such as "pedal %" or "value 0-127", or their unit, "interval (st)". Times
are seconds, mm:ss or h:mm:ss, with decimals. # begins a comment.

)help";

// Stands behind the values and the colours.
constexpr char kHelpFooter[] =
    R"(
Timing:
The recording runs in blocks of --block samples, which are the grain of every
course: a value changes at the block in which its time falls. At each block's
start the values of its last sample are set, and the pedal moves towards them
inside the block from where the block before ended, so it follows the drawn
line. The first block has none before it and holds its own.

Examples:
  treadshift-render guitar.wav bent.wav --color 4 --pedal 0:0,1.5:1,3:0 --tone 0.8
      an octave down at the start, an octave up at 1.5 seconds, and back at 3
  treadshift-render guitar.wav up.flac --color octave-up --pedal 1
      an octave up all the way
  treadshift-render guitar.wav fifth.wav --interval +7st
      a fifth up all the way
  treadshift-render guitar.wav wah.wav --color 2 --pedal sine:4:0-0.5
      half way to the toe and back, every 4 seconds
  treadshift-render guitar.wav dive.wav --color 3 --pedal 0:0,4:1 --on 0:0,2:1
      a dive of two octaves, switched in after two seconds
  treadshift-render guitar.wav up.wav --preset "Octave climb" --pedal sweep.csv
      a preset, moved by a file of seconds and values
  treadshift-render guitar.wav bent.wav --pedal take.mid --pedal-cc 11
      moved by the expression pedal of a MIDI recording
  treadshift-render guitar.wav bass.flac --out-dir bent --normalize --bits 24
      two recordings at once, to bent/guitar.wav and bent/bass.flac
  cat guitar.wav | treadshift-render - - --color 5 --pedal 1 > bent.au
      between two programs
  treadshift-render --again bent.wav other.wav other-bent.wav
      the settings of an earlier output, for another recording
  treadshift-render guitar.wav --pedal 0:0,2:1 --play --from 0:00.2 --to 0:02
      listen to a part while it is rendered, and keep nothing
  treadshift-render guitar.wav bass.flac --out-dir compared --each-color
      all eight colours of each, to compared/guitar-octave-up.wav and so on
  treadshift-render guitar.wav up.wav --color 2 --pedal 1 --align --dry-gain -6
      the bent sound on time, with the recording beside it, 6 dB softer
  treadshift-render guitar.wav bent.wav --pedal 0:0,2:1 --plot sweep.png -v
      look at what it did
  treadshift-render --show --tone 0.3
      what the module tells a host, with the tone at 0.3

Exit status:
0 done, 1 could not be done, 2 wrong call. An output that exists is replaced
only by a whole new one; only with -y when it is not this program's, which its
comment tells (AU and W64 files hold none); and by none with --no-clobber. Of
several recordings, one that cannot be rendered does not keep the others.
)";
