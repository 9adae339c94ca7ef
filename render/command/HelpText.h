// The words of the help around the list of options.
#pragma once

constexpr char kHelpDescription[] =
    R"(Bends the pitch of a recording with the Treadshift pedal.

Reads every sound file that libsndfile knows; - is the standard input. The
output's name tells its type: .wav .flac .ogg .opus .mp3 .aiff .au .caf .w64
.rf64; - is the standard output and gets AU unless --type says otherwise. The
output keeps the sample rate, channels and sample format of the input.
)";

constexpr char kHelpFooter[] =
    R"(Values:
A VALUE is one number for the whole recording, or points seconds:value, as in
0:0,1.5:1,3:0. The pedal and the tone move in a straight line from point to
point; colour, mode and on/off stay until the next point. Before the first
point its value holds, after the last point that one's. A FILE is a CSV text of
lines "seconds,value" or a standard MIDI file. What no option sets keeps the
pedal's own setting (on, guitar, tone 0.8, colour 4, heel).

Timing:
The recording runs in blocks of --block samples, which are the grain of all
moves: a value changes at the block in which its time falls. At each block's
start the values of its last sample are set, and the pedal moves towards them
inside the block from where the block before ended, so it follows the drawn
line. The first block has none before it and holds its own.

Examples:
  treadshift-render guitar.wav bent.wav --color 4 --pedal 0:0,1.5:1,3:0 --tone 0.8
      an octave down at the start, an octave up at 1.5 seconds, and back at 3
  treadshift-render guitar.wav up.flac --color octave-up --pedal 1
      an octave up all the way
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
  treadshift-render guitar.wav --pedal 0:0,2:1 --play
      listen, and keep nothing
  treadshift-render guitar.wav bent.wav --pedal 0:0,2:1 --plot sweep.png -v
      look at what it did
  treadshift-render --show --tone 0.3
      what the module tells a host, with the tone at 0.3

Exit status:
0 done, 1 could not be done, 2 wrong call. An output that exists is replaced
only by a whole new one, and by none with --no-clobber. Of several recordings,
one that cannot be rendered does not keep the others.
)";
