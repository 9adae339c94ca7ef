# The pedal, the recording, and the recording through the pedal.
#
# Variables set before:
#   start, seconds   where in the recording the picture begins, and its length
#   partial          Hz: a partial of the recording that sounds most of the time; the drawn line follows it
#   lowest, highest  Hz: ends of the panels
#   recording        what the middle panel shows
#   title            what the lower panel shows
#   picture          PNG file to write
# Files beside this one: the matrices `before` and `after`, and `courses` with lines of seconds, pedal, cents.
octave(hz) = log(hz) / log(2)
bent(cents) = octave(partial) + cents / 1200.0

set terminal pngcairo size 1080,980 font "DejaVu Sans,12" background "#ffffff"
set output picture
set multiplot

set lmargin at screen 0.085
set rmargin at screen 0.868
set xrange [start:start + seconds]
set xtics out nomirror
set mxtics 4
set grid xtics front linecolor rgb "#80ffffff" dashtype 3
set border linewidth 1 linecolor rgb "#404040"
set tics textcolor rgb "#202020"
unset key

set palette defined (0 "#000004", 1 "#150b37", 2 "#3b0f70", 3 "#641a80", 4 "#8c2981", 5 "#b73779", \
                     6 "#de4968", 7 "#f7705c", 8 "#fe9f6d", 9 "#fecf92", 10 "#fcfdbf")
set cbrange [-50:0]

# The pedal.
set tmargin at screen 0.955
set bmargin at screen 0.855
set title "Pedal" font ",14" offset 0,-0.4
set format x ""
set yrange [-0.12:1.12]
set ytics ("heel" 0, "toe" 1) out nomirror
set grid xtics back linecolor rgb "#c0c0c0" dashtype 3
plot "courses" using 1:2 with lines linewidth 3 linecolor rgb "#0077bb"

# The recording.
set tmargin at screen 0.805
set bmargin at screen 0.495
set title recording font ",14" offset 0,-0.4 noenhanced
set yrange [octave(lowest):octave(highest)]
set ytics ("50" octave(50), "100" octave(100), "200" octave(200), "400" octave(400), "800" octave(800), \
           "1600" octave(1600)) out nomirror
set ylabel "frequency (Hz)" offset 0.5,0
set grid noxtics
set colorbox user origin 0.888,0.495 size 0.018,0.31
set cblabel "level (dB, loudest = 0)" offset 0.8,0
set cbtics 10 out
plot "before" binary matrix using (start + $1):2:3 with image

# What the pedal made of it.
set tmargin at screen 0.445
set bmargin at screen 0.065
set title title font ",14" offset 0,-0.4 enhanced
set format x "%g"
set xlabel "time (s)" offset 0,0.4
unset colorbox
set y2range [octave(lowest):octave(highest)]
set y2tics ("2 octaves down" octave(partial) - 2, "octave down" octave(partial) - 1, "unison" octave(partial), \
            "octave up" octave(partial) + 1) out nomirror
set key top right textcolor rgb "#ffffff" samplen 4 spacing 1.1
plot "after" binary matrix using (start + $1):2:3 with image notitle, \
     "courses" using 1:(bent($3)) with lines linewidth 2 dashtype (9, 9) linecolor rgb "#30e8ff" \
       title sprintf("where the pedal sends the partial at %.0f Hz", partial)
unset multiplot
