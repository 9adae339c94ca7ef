# The four pictures of the quality sheet.
#
# Variables set before:
#   columns    directory with the files that treadshift-quality has written
#   pictures   directory for the pictures
set terminal pngcairo size 900,420 font "DejaVu Sans,11" background "#ffffff"
set border linewidth 1 linecolor rgb "#404040"
set tics out nomirror textcolor rgb "#202020"
set grid linecolor rgb "#b8b8b8" linewidth 1 dashtype (6, 6)

set output pictures."/quality-tone.png"
set logscale x
set xrange [20:20000]
set yrange [-42:12]
set xtics ("20" 20, "50" 50, "100" 100, "200" 200, "500" 500, "1k" 1000, "2k" 2000, "5k" 5000, "10k" 10000, "20k" 20000)
set ytics 6
set xlabel "frequency (Hz)"
set ylabel "level (dB)"
set key outside right center title "Tone"
plot for [k=0:4] columns."/tone" using 1:(column(k + 2)) with lines linewidth 2.5 \
  linecolor rgb word("#00204d #3b5a8c #7d7c78 #c4a03c #f0c800", k + 1) title word("0 0.25 0.5 0.75 1", k + 1)
unset logscale

set output pictures."/quality-fades.png"
set terminal pngcairo size 900,300
set xrange [0:40]
set yrange [-0.05:1.1]
set xtics 8
set ytics 0.5
set xlabel "time after the change (ms)"
set ylabel "gain"
set key inside bottom right notitle
plot columns."/fades" using 1:2 with lines linewidth 5 linecolor rgb "#a8cbe8" title "On/Off, on to off", \
  "" using 1:3 with lines linewidth 1.5 linecolor rgb "#b02040" title "Color, 2 to 3"

shown = "own am r3"
names = "Treadshift 'swh amPitchshift' 'rubberband R3'"
colours = "#0068b0 #b02040 #2a8a4a"
set terminal pngcairo size 900,520
unset key

set output pictures."/quality-level.png"
set multiplot layout 3,1 margins 0.085,0.97,0.12,0.94 spacing 0,0.07
set xrange [0:0.4]
set yrange [-30:3]
set xtics 0.1
set ytics 10
set format x ""
unset xlabel
do for [k=1:3] {
  set title word(names, k) offset 0,-0.7
  set ylabel (k == 2 ? "level (dB)" : "")
  if (k == 3) { set format x "%g"; set xlabel "time (s)" }
  plot columns."/".word(shown, k).".level" using 1:2 with lines linewidth 2 linecolor rgb word(colours, k)
}
unset multiplot

set output pictures."/quality-lines.png"
set multiplot layout 3,1 margins 0.085,0.97,0.12,0.94 spacing 0,0.07
set xrange [-120:120]
set yrange [-80:5]
set xtics 20
set ytics 20
set format x ""
unset xlabel
do for [k=1:3] {
  set title word(names, k) offset 0,-0.7
  set ylabel (k == 2 ? "level (dB)" : "")
  if (k == 3) { set format x "%g"; set xlabel "frequency, from the intended pitch (Hz)" }
  plot columns."/".word(shown, k).".lines" using 1:2 with lines linewidth 1.5 linecolor rgb word(colours, k)
}
unset multiplot
