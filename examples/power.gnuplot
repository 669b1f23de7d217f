# SPDX-License-Identifier: MIT
# Draws what "sv_ctl watch --csv" has recorded, as an SVG:
#   gnuplot -e "csv = 'power.csv'; svg = 'power.svg'" examples/power.gnuplot
# A missed reading leaves a gap.
set terminal svg size 900, 480 font "sans-serif,13" background "#ffffff"
set output svg
set datafile separator comma
set datafile columnheaders
seconds(text) = strptime("%Y-%m-%dT%H:%M:%S", text)
stats csv using (seconds(strcol("time"))) nooutput name "time"
begin = time_min
from_cap(ignored) = strcol("source") eq "capacitors" ? 1 : 0
elapsed(ignored) = seconds(strcol("time")) - begin

set multiplot layout 2, 1 margins 0.08, 0.91, 0.10, 0.90 spacing 0.14
set grid xtics ytics linecolor "#dddddd"
set key at screen 0.5, 0.955 center horizontal samplen 2
set xrange [0:time_max - begin]
set ylabel "V"
set yrange [0:*]
set y2range [0:1]
set style fill solid 0.25 noborder
plot csv using (elapsed(0)):(from_cap(0)) axes x1y2 with fillsteps linecolor "#e69f00" title "on capacitors", \
     csv using (elapsed(0)):"teko1_volts" with steps linewidth 2 linecolor "#0072b2" title "TEKO1", \
     csv using (elapsed(0)):"ext_volts" with steps linewidth 2 linecolor "#009e73" title "ext", \
     csv using (elapsed(0)):"powerrail_volts" with steps linewidth 2 linecolor "#d55e00" title "power rail"
set key at screen 0.5, 0.465 center horizontal samplen 2
set xlabel "seconds"
set y2range [*:*]
set y2tics
set ytics nomirror
set y2label "mA"
plot csv using (elapsed(0)):"cap_volts" with steps linewidth 2 linecolor "#cc79a7" title "CAP voltage", \
     csv using (elapsed(0)):(1000 * column("cap_charge_amperes")) axes x1y2 with steps linewidth 2 \
         linecolor "#555555" title "CAP charge current (right)", \
     0 axes x1y2 linecolor "#cccccc" notitle
unset multiplot
