# The two taps on the way up (left) and down (right): delays above, weights below. data: see examples/taps.cpp.
set terminal pngcairo size 1000,460 font "sans,10"
set multiplot layout 2,2 columnsfirst margins 0.07,0.98,0.10,0.90 spacing 0.06,0.06
set style line 1 lc rgb "#1f5fa8" lw 2
set style line 2 lc rgb "#d0661b" lw 2
set xrange [0:300]
titles = "'An octave up: delays shrink' 'Two octaves down: delays grow'"
do for [side = 0:1] {
  unset xlabel
  set format x ""
  set yrange [0:80]
  set ytics 20
  set title word(titles, side + 1)
  if (side == 0) { set ylabel "delay (ms)" } else { unset ylabel }
  unset key
  plot data index side using 1:2 with lines ls 1, data index side using 1:3 with lines ls 2
  unset title
  set format x "%g"
  set xlabel "time (ms)"
  set yrange [0:1.35]
  set ytics 0.5
  if (side == 0) { set ylabel "weight" }
  set key top right horizontal
  plot data index side using 1:4 with lines ls 1 title "tap 1", data index side using 1:5 with lines ls 2 title "tap 2"
}
