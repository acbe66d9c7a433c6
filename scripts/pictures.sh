#!/usr/bin/env bash
# Makes the pictures of the documentation, docs/pictures, from the outputs of the examples, the
# program and the data profiles, and by the examples in Python. Without arguments it makes all of
# them, otherwise those in the arguments:
#
#   scripts/pictures.sh convergence paths
# shellcheck disable=SC2086  # a table's numbers are words of one text
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
export LC_ALL=C.UTF-8

all=(unitary-maps table linear-search leaves constraint convergence paths optimizer-settings
    data-profiles quadrature random-fields resumed box speed-up time-line python-climb python-fit
    python-table python-field)

examples=build/release/examples
work=build/pictures
pictures=docs/pictures

# plot FILE WIDTH HEIGHT: runs gnuplot's commands from standard input. The colours of Okabe and Ito
# are distinct for colour-blind people.
plot() {
    local terminal='svg font "sans-serif,14" background "white"'
    if [[ $1 == *.png ]]; then
        terminal='pngcairo font "sans-serif,10"'
    fi
    {
        cat <<END
set terminal $terminal rounded size $2,$3
set output "$pictures/$1"
set encoding utf8
set linetype 1 lc rgb "#0072B2" lw 2 dt 1
set linetype 2 lc rgb "#D55E00" lw 2 dt 1
set linetype 3 lc rgb "#009E73" lw 2 dt 1
set linetype 4 lc rgb "#CC79A7" lw 2 dt 1
set linetype 5 lc rgb "#E69F00" lw 2 dt 1
set linetype 6 lc rgb "#000000" lw 1.5 dt (8, 4)
set linetype 7 lc rgb "#777777" lw 1.5 dt (2, 3)
set border lc rgb "#555555"
set grid lc rgb "#dddddd" lt 1 lw 0.5 dt 1
set tics nomirror
set title font ",16" offset 0,-0.3
END
        cat
    } >"$work/$1.gp"
    gnuplot "$work/$1.gp"
}

# map NAME KIND COMPONENT VALUE...: tabulates a unitary map into a data file.
map() {
    local name=$1 kind=$2
    shift 2
    {
        echo "<unitaryMapContainer xmlns=\"urn:zeibreku:function#\"><$kind>"
        while (($# > 0)); do
            echo "<$1>$2</$1>"
            shift 2
        done
        echo "</$kind></unitaryMapContainer>"
    } >"$work/$name.xml"
    "$examples/02_functions" "$work/$name.xml" 0 1 250 >"$work/$name.txt"
}

picture_unitary-maps() {
    map s1 sCurveUnitaryMap center 0.5
    map s2 sCurveUnitaryMap center 0.5 centerSlope 20
    map s3 sCurveUnitaryMap center 0.25 centerSlope 5
    map s4 sCurveUnitaryMap center 0.75 initialSlope 0.3 centerSlope 5
    local exponent
    for exponent in 0.25 0.5 1 2 4; do
        map "p$exponent" powerUnitaryMap exponent "$exponent"
    done
    plot unitary-maps.svg 760 480 <<END
set multiplot layout 1,2
set size ratio 1
set xrange [0:1]
set yrange [0:1]
set xtics 0.25
set ytics 0.25
set xlabel "x"
set ylabel "f(x)" offset 1
set bmargin 8
set key at graph 0,-0.25 left top maxcols 1 Left reverse samplen 2
set title "sCurveUnitaryMap"
plot "$work/s1.txt" with lines lt 1 title "center 0.5, centerSlope 4", \
    "$work/s2.txt" with lines lt 2 title "center 0.5, centerSlope 20", \
    "$work/s3.txt" with lines lt 3 title "center 0.25, centerSlope 5", \
    "$work/s4.txt" with lines lt 4 title "center 0.75, centerSlope 5, initialSlope 0.3", \
    "<printf '0.25 0.5\n0.5 0.5\n0.75 0.5\n'" with points pt 7 ps 0.7 lc rgb "black" notitle
unset key
set title "powerUnitaryMap"
set label 1 "exponent 1/4" left at 0.04,0.9 tc lt 1
set label 2 "1/2" left at 0.35,0.55 tc lt 2
set label 3 "1" at 0.53,0.49 tc lt 6
set label 4 "2" at 0.68,0.42 tc lt 3
set label 5 "4" at 0.83,0.4 tc lt 4
plot "$work/p0.25.txt" with lines lt 1, "$work/p0.5.txt" with lines lt 2, \
    "$work/p1.txt" with lines lt 6, "$work/p2.txt" with lines lt 3, "$work/p4.txt" with lines lt 4
END
}

# table NAME SEARCH LOWER UPPER BREAKPOINTS VALUES: writes a table of one variable; the lists are
# words.
table() {
    cat >"$work/$1.xml" <<END
<compositeFunctionContainer xmlns="urn:zeibreku:function#"><tableFunctionInterpolator>
<independentData><tableFunctionVectorSearch searchOption="$2" lowerBoundaryOption="$3"
    upperBoundaryOption="$4"><independentVector>$(printf '<item>%s</item>' $5)</independentVector>
</tableFunctionVectorSearch></independentData>
<dependentData><item>$(printf '<item>%s</item>' $6)</item></dependentData>
</tableFunctionInterpolator></compositeFunctionContainer>
END
}

# evaluate TABLE FROM TO COUNT: the values of a table from left to right, "x ok y".
evaluate() {
    seq -f %.6f "$2" "$(awk "BEGIN { print ($3 - $2) / $4 }")" "$3" |
        "$examples/04_tables" "$work/$1.xml" >"$work/$1.txt"
}

picture_table() {
    local x="0 20 50 80 100" y="310 290 215 110 60"
    table limited bisection limit limit "$x" "$y"
    table extrapolated bisection extrapolate extrapolate "$x" "$y"
    evaluate limited -20 120 140
    evaluate extrapolated -20 120 140
    paste <(printf '%s\n' $x) <(printf '%s\n' $y) >"$work/table.txt"
    plot table.svg 720 400 <<END
set title "A table of five points, and what it says beyond its ends"
set xlabel "x"
set ylabel "y"
set xrange [-20:120]
set yrange [0:360]
set key at 45,130
set arrow 1 from 0,graph 0 to 0,graph 1 nohead lt 7
set arrow 2 from 100,graph 0 to 100,graph 1 nohead lt 7
plot "$work/extrapolated.txt" using 1:3 with lines lt 2 dt 2 title "extrapolate", \
    "$work/limited.txt" using 1:3 with lines lt 1 title "limit", \
    "$work/table.txt" with points pt 7 ps 0.8 lc rgb "black" title "breakpoints"
END
}

picture_linear-search() {
    local name search x y="0 4 7 8 6 3 1 0 1 4 7 8 7"
    for name in fine wide; do
        case $name in
            fine) x="0 0.25 0.5 0.75 1 1.25 1.5 1.75 2 2.25 2.5 2.75 3" ;;
            wide) x="0 3 6 9 12 15 18 21 24 27 30 33 36" ;;
        esac
        for search in linear bisection; do
            table "$name-$search" "$search" limit limit "$x" "$y"
            evaluate "$name-$search" 0 "${x##* }" 600
        done
        paste <(printf '%s\n' $x) <(printf '%s\n' $y) >"$work/$name.txt"
    done
    plot linear-search.svg 760 720 <<END
set multiplot layout 2,1
set ylabel "y"
set key top right maxrows 1 samplen 2
do for [name in "fine wide"] {
    unset label
    unset arrow
    if (name eq "fine") {
        set title "Breakpoints 0.25 apart: linear stays until x is 1 beyond a segment's beginning"
        set xrange [0:3]
        set yrange [-8:21]
        set label 1 "the segment 0.25 to 0.5,\nkept until x = 1.25" right at 0.87,15.5
        set arrow 1 from 0.89,14.5 to 1.03,13.2
        set label 2 "then the next one, 0.5 to 0.75,\nuntil x = 1.5" left at 1.6,15.5
        set arrow 2 from 1.58,14.5 to 1.4,10.9
    } else {
        set title "Breakpoints 3 apart: linear goes on once x is 1 beyond a segment's beginning"
        set xlabel "x, rising"
        set xrange [0:36]
        set yrange [-4:17]
        set ytics 5
        set label 1 "from x = 7 on the segment 9 to 12,\ncontinued to the left" left at 8,11.8
        set arrow 1 from 7.8,11 to 7.2,9.6
        set label 2 "beside the last segment\nevery other look-up bisects" right at 35.5,-0.5
        set arrow 2 from 32,0.9 to 32,7.2
    }
    plot sprintf("$work/%s-linear.txt", name) using 1:3 with lines lt 2 title "linear", \
        sprintf("$work/%s-bisection.txt", name) using 1:3 with lines lt 1 title "bisection", \
        sprintf("$work/%s.txt", name) with points pt 7 ps 0.8 lc rgb "black" title "breakpoints"
}
END
}

picture_leaves() {
    # Cells of a tenth; equal rows are drawn as one.
    local step=0.1 west=-2 east=7 south=-1 north=5
    awk -v s=$step -v w=$west -v e=$east -v b=$south -v t=$north 'BEGIN {
        for (j = 0; j < (t - b) / s - 1e-9; ++j)
            for (i = 0; i < (e - w) / s - 1e-9; ++i) print w + (i + 0.5) * s, b + (j + 0.5) * s
    }' | "$examples/04_tables" examples/04_tables/leaves.xml |
        awk -v s=$step '
            function flush() { for (k = 0; k < n; ++k) print west[k], low, east[k], high, leaf[k] }
            function start_row(y) {
                if (row != "" && row == rowBefore) high = last + s / 2
                else if (row != "") {
                    flush()
                    low = last - s / 2; high = last + s / 2; n = m; rowBefore = row
                    for (k = 0; k < m; ++k) { west[k] = W[k]; east[k] = E[k]; leaf[k] = L[k] }
                }
                row = ""; m = 0; last = y
            }
            { answer = $3 == "ok" ? $4 : 0 }
            NR == 1 || $2 != last { start_row($2) }
            m == 0 || L[m - 1] != answer { W[m] = $1 - s / 2; L[m++] = answer }
            { E[m - 1] = $1 + s / 2; row = row " " answer }
            END { start_row(""); flush() }' >"$work/leaves.txt"
    plot leaves.svg 720 500 <<END
set title "Which of three tables answers, and where none does"
set xlabel "first variable"
set ylabel "second variable"
set xrange [$west:$east]
set yrange [$south:$north]
unset grid
set palette defined (0 "#eeeeee", 1 "#9ecae8", 2 "#f2c9a0", 3 "#a6dcc8")
set cbrange [0:3]
unset colorbox
set style fill solid noborder
set object 1 rect from 0,0 to 2,3 front fs empty border lc rgb "#0072B2" lw 3
set object 2 rect from 1,2 to 4,4 front fs empty border lc rgb "#D55E00" lw 3
set object 3 rect from 3,0 to 5,1 front fs empty border lc rgb "#009E73" lw 3
set label 1 "table 1" at 1,1 center front
set label 2 "table 2" at 3,3 center front
set label 3 "table 3" at 4,0.5 center front
set label 4 "1, extrapolating\nto the left" at -1,1.7 center front
set label 5 "2, extrapolating upwards\nand to the right" at 5.5,4.3 center front
set label 6 "none" at 6,1.2 center front
set label 7 "none" at -1,4 center front
set label 8 "none" at 2.5,-0.5 center front
plot "$work/leaves.txt" using ((\$1 + \$3) / 2):((\$2 + \$4) / 2):1:3:2:4:5 \
    with boxxyerror fillcolor palette notitle
END
}

# tabulate INTERVALS STEP FROM TO: the constraint and its gradient, in rows along x for each y. A
# blank line ends each row, which contours need.
tabulate() {
    local y
    for y in $(seq "$3" "$2" "$4"); do
        "$examples/02_functions" examples/02_functions/quadratic.xml "$3" "$4" "$1" "$y" |
            awk -v y="$y" '!/^#/ { print $1, y, $2, $3, $4 } END { print "" }'
    done
}

picture_constraint() {
    tabulate 140 0.05 -3.5 3.5 >"$work/constraint.txt"
    tabulate 4 1.2 -2.4 2.4 >"$work/gradients.txt"
    # The positions of the values on their contours, between the arrows.
    awk 'function along(y, side, v,    b) {
            b = 1 + 2 * y
            print (-b + side * sqrt(b * b + 4 * (3 + v))) / 2, y, v
        }
        function above(x, v) { print x, (v + 3 - x - x * x) / (2 * x), v }
        BEGIN {
            for (v = 4; v <= 20; v += 4) { along(1.8, 1, v); along(-3.2, -1, v) }
            for (v = -4; v >= -12; v -= 4) above(-1.8, v)
            for (v = -4; v >= -8; v -= 4) above(1.8, v)
        }' >"$work/values.txt"
    plot constraint.svg 640 640 <<END
set contour base
set cntrparam levels incremental -12, 4, 20
unset surface
set table "$work/contours.txt"
splot "$work/constraint.txt" using 1:2:3
unset table
set title "c(x) = x₀ + x₀² + 2 x₀ x₁ − 3: contours and gradient"
set xlabel "x₀"
set ylabel "x₁" offset 1
set size ratio 1
set xrange [-3.5:3.5]
set yrange [-3.5:3.5]
set tics 1
unset grid
set key below samplen 2 maxrows 1
set style textbox opaque noborder margins 0.3,0.3
level(v, low, high) = v > low && v < high ? 1 : 1/0
plot "$work/contours.txt" using 1:(\$2 * level(\$3, 0.5, 99)) with lines lt 2 title "c > 0", \
    "" using 1:(\$2 * level(\$3, -0.5, 0.5)) with lines lc rgb "black" lw 4 title "c = 0", \
    "" using 1:(\$2 * level(\$3, -99, -0.5)) with lines lt 1 title "c < 0", \
    "$work/values.txt" using 1:2:3 with labels boxed font ",12" notitle, \
    "$work/gradients.txt" using 1:2:4:5 with vectors size 0.12,20 filled lc rgb "#777777" lw 1.5 \
        title "unit gradient", \
    "" using 1:2 with points pt 7 ps 0.4 lc rgb "#777777" notitle
END
}

# trace SETTINGS FUNCTION START...: the evaluations of a search, "number value best point".
trace() {
    local settings=$1
    shift
    "$examples/01_minimise" --trace "examples/01_minimise/$settings.xml" "$@" |
        awk 'NR == 1 || $1 < best { best = $1 } { $1 = NR " " $1 " " best; print }' \
            >"$work/$settings-$1.txt"
}

searches=(nelder-mead hooke-jeeves sequence implicit-filtering multidirectional)

picture_convergence() {
    local settings
    for settings in "${searches[@]}"; do
        trace "$settings" powell 3 -1 0 1
        # The steps, and the end of the search.
        awk '$2 == $3; END { print }' "$work/$settings-powell.txt" >"$work/$settings-steps.txt"
        tail -n 1 "$work/$settings-steps.txt" >"$work/$settings-stop.txt"
    done
    plot convergence.svg 760 520 <<END
set title "Five searches on Powell's quartic function from (3, −1, 0, 1)"
set xlabel "evaluations"
set ylabel "best value so far"
set xrange [0:2080]
set logscale y
set yrange [1e-14:1e4]
set format y "10^{%T}"
set ytics 100
set key top right samplen 3 maxrows 3
set label 1 "simplex's values differ by\nless than stoppingThreshold 10^{−12}" at 440,5e-12
set label 2 "steps reduced below\nminTotalReduction 10^{−7}" right at 2050,5e-8
set label 3 "budget of 2000 evaluations spent" right at 2040,7e-6
plot for [i = 1:5] sprintf("$work/%s-steps.txt", \
        word("nelder-mead hooke-jeeves sequence implicit-filtering multidirectional", i)) \
    using 1:3 with steps lt i \
    title word("nelderMead hookeJeeves sequenceOptimizer implicitFiltering multidirectionalSearch", i), \
    for [i = 1:5] sprintf("$work/%s-stop.txt", \
        word("nelder-mead hooke-jeeves sequence implicit-filtering multidirectional", i)) \
    using 1:3 with points lt i pt 7 ps 0.9 notitle, \
    NaN with points pt 7 ps 0.9 lc rgb "black" title "search stops"
END
}

picture_paths() {
    local settings
    for settings in "${searches[@]}"; do
        trace "$settings" rosenbrock -1.2 1
        # As many evaluations as fit. A short line takes less room than a symbol.
        head -n 250 "$work/$settings-rosenbrock.txt" |
            awk '{ print $4 - 0.008, $5; print $4 + 0.008, $5; print "" }' >"$work/$settings-points.txt"
        head -n 250 "$work/$settings-rosenbrock.txt" |
            awk '$2 == $3 { print $4, $5 }' >"$work/$settings-path.txt"
        head -n 250 "$work/$settings-rosenbrock.txt" |
            awk 'END {
                if ($3 < 0.001) printf "{/*0.8 reached: f = %.2g}", $3
                else printf "{/:Bold*0.8 not reached: f = %.2g}", $3
            }' >"$work/$settings-end.txt"
    done
    # A contour of the value v is an ellipse in 1 - x and y - x².
    awk 'BEGIN {
        for (v = 1; v <= 100; v *= 10) {
            n = int(40 * sqrt(v)) + 40
            for (i = 0; i <= n; ++i) {
                t = i * 6.28318530718 / n
                x = 1 - sqrt(v) * cos(t)
                print x, x * x + sqrt(v / 100) * sin(t)
            }
            print ""
        }
    }' >"$work/valley.txt"
    plot paths.svg 760 590 <<END
set multiplot layout 2,3 title \
    "Five searches in Rosenbrock's valley from (−1.2, 1): up to 250 evaluations" font ",16" \
    margins 0.06,0.985,0.085,0.8 spacing 0.055,0.23
set xrange [-1.7:1.5]
set yrange [-0.7:1.9]
set size ratio -1
unset grid
unset key
set xlabel "x" offset 0,0.7
set ylabel "y" offset 1.5
set tics 1
set style textbox opaque noborder margins 0.2,0.2
set label 1 "1" center at 0.64,0.19 front font ",11" tc rgb "#666666"
set label 2 "10" center at 0,0.3 boxed front font ",11" tc rgb "#666666"
set label 3 "100" center at 0,0.995 boxed front font ",11" tc rgb "#666666"
do for [i = 1:5] {
    name = word("nelder-mead hooke-jeeves sequence implicit-filtering multidirectional", i)
    set title word("nelderMead hookeJeeves sequenceOptimizer implicitFiltering multidirectionalSearch", i) \
        . "\n" . system(sprintf("cat $work/%s-end.txt", name))
    plot "$work/valley.txt" with lines lc rgb "#bbbbbb" lw 1, \
        sprintf("$work/%s-points.txt", name) with lines lc rgb "#56B4E9" lw 3, \
        sprintf("$work/%s-path.txt", name) with lines lc rgb "#D55E00" lw 1.5, \
        "+" using (-1.2):(1.0) every ::0::0 with points pt 7 ps 0.7 lc rgb "black", \
        "+" using (1.0):(1.0) every ::0::0 with points pt 2 ps 1 lw 2 lc rgb "black"
}
unset title
unset border
unset tics
unset xlabel
unset ylabel
unset label
set key at graph 0,1 left maxcols 1 Left reverse samplen 2 spacing 1.2
plot NaN with points pt 7 ps 0.7 lc rgb "black" title "start, f = 24.2", \
    NaN with points pt 2 ps 1 lw 2 lc rgb "black" title "minimum, f = 0", \
    NaN with points pt 7 ps 0.4 lc rgb "#56B4E9" title "evaluated", \
    NaN with lines lc rgb "#D55E00" lw 1.5 title "best so far", \
    NaN with lines lc rgb "#bbbbbb" lw 1 title "contours of f"
END
}

# A component of the examples' settings takes three values.
picture_optimizer-settings() {
    local panels=("nelder-mead nelderMead alpha 0.5 1 2" "nelder-mead nelderMead beta 0.25 0.5 0.75"
        "nelder-mead nelderMead gamma 1.2 2 4" "nelder-mead nelderMead defaultSimplexEdgeLength 0.001 0.3 30"
        "hooke-jeeves hookeJeeves defaultEdgeLength 0.001 0.3 3"
        "hooke-jeeves hookeJeeves reductionFactor 0.25 0.5 0.75"
        "implicit-filtering implicitFiltering defaultSimplexEdgeLength 0.003 0.3 3"
        "multidirectional multidirectionalSearch beta 0.25 0.5 0.75"
        "multidirectional multidirectionalSearch gamma 1.2 2 3")
    local i settings component values value
    for i in "${!panels[@]}"; do
        read -r settings _ component values <<<"${panels[i]}"
        for value in $values; do
            sed "/<$component>/d; s|^  </|<$component>$value</$component>&|" \
                "examples/01_minimise/$settings.xml" >"$work/setting.xml"
            "$examples/01_minimise" --trace "$work/setting.xml" powell 3 -1 0 1 |
                awk 'NR == 1 || $1 < 0.8 * best { best = $1; print NR, best } END { print NR, best }' \
                    >"$work/setting-$i-$value.txt"
        done
    done
    plot optimizer-settings.svg 760 780 <<END
set multiplot layout 3,3 title "A setting at three values: best value of Powell’s function" font ",16" \
    margins 0.07,0.985,0.065,0.86 spacing 0.06,0.135
set xrange [0:600]
set yrange [1e-12:1e3]
set logscale y
set format y "10^{%T}"
set tics font ",12"
set xtics 200
set ytics 1e3
unset mytics
set key at graph 0.5,1.01 center bottom maxrows 1 samplen 1.2 width -1 font ",13"
array panel[9] = ["${panels[0]}"$(printf ', "%s"' "${panels[@]:1}")]
do for [i = 1:9] {
    set title word(panel[i], 2) . "\n" . word(panel[i], 3) font ",13" offset 0,-0.1
    if (i > 6) { set xlabel "evaluations" font ",12" offset 0,0.5 }
    plot for [k = 1:3] sprintf("$work/setting-%d-%s.txt", i - 1, word(panel[i], k + 3)) with steps \
        lc rgb word("#0072B2 #000000 #D55E00", k) dt k lw 2.5 title word(panel[i], k + 3)
}
END
}

picture_data-profiles() {
    build/release/benchmarks/data_profiles --curves >"$work/profiles.txt"
    plot data-profiles.svg 980 520 <<END
set multiplot layout 1,2 title "53 smooth problems of Moré and Wild: how many are solved, by effort" \
    font ",16"
set xlabel "evaluations / (n + 1)"
set xrange [0:100]
set yrange [0:100]
set bmargin 9
set datafile columnheaders
do for [i = 0:1] {
    set title (i == 0 ? "to 10^{−3}" : "to 10^{−5}")
    set ylabel (i == 0 ? "problems solved, %" : "")
    if (i == 0) {
        set key at screen 0.5,0.005 bottom center maxrows 3 samplen 3 width 3
    } else {
        unset key
    }
    plot "$work/profiles.txt" index i \
        using 1:"NLopt LN_BOBYQA" with lines lc rgb "#000000" lw 2 dt 1 title "NLopt, BOBYQA", \
        "" index i using 1:"NLopt LN_NEWUOA" with lines lc rgb "#56B4E9" lw 2 dt 1 title "NLopt, NEWUOA", \
        "" index i using 1:"NLopt LN_NELDERMEAD" with lines lt 6 title "NLopt, Nelder-Mead", \
        "" index i using 1:"GSL nmsimplex2" with lines lt 7 title "GSL, nmsimplex2", \
        "" index i using 1:"Sequence, chain" with lines lt 3 lw 3 title "sequenceOptimizer, chain", \
        "" index i using 1:"Nelder-Mead" with lines lt 1 title "nelderMead", \
        "" index i using 1:"Hooke-Jeeves, none" with lines lt 2 title "hookeJeeves", \
        "" index i using 1:"Multidirectional" with lines lt 5 title "multidirectionalSearch", \
        "" index i using 1:"Implicit filtering" with lines lt 4 title "implicitFiltering"
}
END
}

picture_quadrature() {
    "$examples/06_quadrature" >"$work/quadrature.txt"
    plot quadrature.svg 760 480 <<END
set title "Gauss quadrature: error of the integral by order"
set xlabel "order, the number of values of the function"
set ylabel "error, from 5·10^{−16} on"
floored(error) = error < 5e-16 ? 5e-16 : error
set logscale xy
set xrange [2:128]
set xtics (2, 4, 8, 16, 32, 64, 128)
set yrange [1e-16:1]
set format y "10^{%T}"
set ytics 100
set key outside right center samplen 2 width -2 Left reverse
plot "$work/quadrature.txt" using 1:(floored(\$2)) with linespoints lt 1 pt 7 ps 0.4 title "eˣ", \
    "" using 1:(floored(\$3)) with linespoints lt 3 pt 7 ps 0.4 title "1 / (1 + 25 x²)", \
    "" using 1:(floored(\$4)) with linespoints lt 4 pt 7 ps 0.4 title "cos 50 x", \
    "" using 1:(floored(\$6)) with linespoints lt 2 pt 7 ps 0.4 title "√x", \
    "" using 1:(floored(\$5)) with linespoints lt 5 pt 7 ps 0.4 title "|x − 0.3|", \
    "" using 1:(floored(\$7)) with linespoints lt 6 pt 7 ps 0.4 title "1 / √x"
END
}

# correlation NAME FIELD_FILE: the correlation function, that of the turned samples, and the
# measured one, each as "distance correlation"; and a field in standard deviations.
correlation() {
    local name=$1 file=$2 variance seed
    "$examples/02_functions" "$file" 0 24 240 | awk '!/^#/' >"$work/$name-function.txt"
    variance=$(awk 'NR == 1 { print $2 }' "$work/$name-function.txt")
    awk -v variance="$variance" '{ print $1, $2 / variance }' "$work/$name-function.txt" \
        >"$work/$name-given.txt"
    awk 'function at(x,    i) { i = int(10 * x); return y[i] + (10 * x - i) * (y[i + 1] - y[i]) }
        { y[NR - 1] = $2 }
        END {
            for (d = 0; d <= 24; d += 0.5) {
                sum = 0
                for (i = 0; i < 400; ++i) {
                    t = (i + 0.5) * 3.14159265359 / 800
                    sum += at(d * cos(t)) * at(d * sin(t))
                }
                print d, sum / 400
            }
        }' "$work/$name-given.txt" >"$work/$name-expected.txt"
    for seed in {1..20}; do
        "$examples/05_random_field" "$file" 160 160 1 0 100 "$seed"
    done | awk -v variance="$variance" '{
            for (c = 1; c <= NF; ++c) rows[NR % 32, c] = $c
            for (d = 0; d < 25; d += 2) {
                for (c = 1; c + d <= NF; ++c) { sum[d] += $c * $(c + d); ++count[d] }
                if ((NR - 1) % 160 >= d)
                    for (c = 1; c <= NF; ++c) { sum[d] += $c * rows[(NR - d) % 32, c]; ++count[d] }
            }
        }
        END { for (d = 0; d < 25; d += 2) print d, sum[d] / count[d] / variance }' \
        >"$work/$name-measured.txt"
    "$examples/05_random_field" "$file" 200 200 0.5 0 200 1 |
        awk -v scale="$(awk "BEGIN { print 1 / sqrt($variance) }")" \
            '{ for (c = 1; c <= NF; ++c) printf "%.3f ", $c * scale; print "" }' >"$work/$name-field.txt"
}

picture_random-fields() {
    # A point for each distance between cells. The function is linear between its points, and few
    # correlation functions remain valid with such bends.
    awk 'BEGIN {
        print "<scalarFunctionContainer xmlns=\"urn:zeibreku:function#\"><multipointScalarFunction><rangeValues>"
        for (d = 0; d <= 150; d += 0.5) printf "<item>%.9f</item>\n", exp(-d / 10) * cos(d / 2)
        print "</rangeValues><domainValues>"
        for (d = 0; d <= 150; d += 0.5) printf "<item>%.1f</item>\n", d
        print "</domainValues></multipointScalarFunction></scalarFunctionContainer>"
    }' >"$work/wave.xml"
    correlation exponential examples/05_random_field/exponential.xml
    correlation triangular examples/05_random_field/triangular.xml
    correlation wave "$work/wave.xml"
    plot random-fields.png 760 600 <<END
set multiplot title "Random fields of three correlation functions of the distance d" font ",13"
set palette defined (0 "#440154", 1 "#3b528b", 2 "#21918c", 3 "#5ec962", 4 "#fde725")
set palette maxcolors 32
set cbrange [-3:3]
set cbtics 1
set cblabel "standard deviations" offset 1
set xtics 50
set ytics 50
unset grid
set xlabel "x" offset 0,0.5
set tmargin at screen 0.83
set bmargin at screen 0.54
do for [i = 1:3] {
    name = word("exponential triangular wave", i)
    set lmargin at screen 0.085 + (i - 1) * 0.285
    set rmargin at screen 0.31 + (i - 1) * 0.285
    set title word("exp(−d/10) 1−d/10 exp(−d/10)·cos(d/2)", i) . (i == 2 ? ", 0 from 10 on" : "") \
        . "\nlength " . (i == 3 ? "10, wavelength 4π" : "10") font ",11"
    if (i == 1) { set ylabel "y" } else { unset ylabel }
    if (i == 3) { set colorbox } else { unset colorbox }
    plot [0:100] [0:100] sprintf("$work/%s-field.txt", name) matrix using (\$1 * 0.5):(\$2 * 0.5):3 \
        with image notitle
}
set grid
set xtics 10
set ytics 0.5
set xlabel "distance d"
unset title
set tmargin at screen 0.43
set bmargin at screen 0.15
set key at screen 0.52,0.015 center bottom maxrows 1 Left reverse samplen 2
do for [i = 1:3] {
    name = word("exponential triangular wave", i)
    set lmargin at screen 0.085 + (i - 1) * 0.285
    set rmargin at screen 0.31 + (i - 1) * 0.285
    if (i == 1) { set ylabel "correlation" } else { unset ylabel; unset key }
    plot [0:24] [-0.6:1.05] sprintf("$work/%s-given.txt", name) with lines lt 6 title "given", \
        sprintf("$work/%s-expected.txt", name) with lines lt 1 title "averaged over angles", \
        sprintf("$work/%s-measured.txt", name) with points pt 7 ps 0.8 lc rgb "#D55E00" \
            title "measured in 20 fields"
}
END
}

# best RECORD: the search's own evaluations, "number best run point".
best() {
    awk '$1 == "r" { ++run }
        $1 == "e" { value[$2] = $(NF - 1); point[$2] = $6 " " $7 }
        $1 == "a" {
            if (n == 0 || value[$3] < best) best = value[$3]
            print n++, best, run, point[$3], value[$3]
        }' "$1"
}

picture_resumed() {
    local record=$work/killed.record count
    local fit=("$examples/09_fit" examples/09_fit/search.xml examples/09_fit/mgh17.txt)
    rm -f "$record" "$work/whole.record"
    "${fit[@]}" "$work/whole.record" >"$work/whole.log" 2>&1
    for count in 130 600; do
        "${fit[@]}" "$record" 0.005 >"$work/killed.log" 2>&1 &
        until [[ -e $record ]] && (($(grep -c '^e ' "$record") >= count)); do :; done
        kill -KILL $!
        wait $! || true
    done
    "${fit[@]}" "$record" >"$work/killed.log" 2>&1
    best "$work/whole.record" >"$work/whole.txt"
    best "$record" >"$work/killed.txt"
    # The first evaluation of each run but the first.
    awk 'NR > 1 && $3 != run { print $1, $2 } { run = $3 }' "$work/killed.txt" >"$work/resumes.txt"
    plot resumed.svg 760 420 <<END
set title "A fit that is killed twice and resumes from its record"
set xlabel "evaluations"
set ylabel "best sum of squares so far"
set xrange [0:1500]
set logscale y
set yrange [3e-5:2]
set format y "10^{%T}"
set key top right samplen 3
plot "$work/whole.txt" using 1:2 with steps lc rgb "#bbbbbb" lw 9 title "never interrupted", \
    for [run = 1:3] "$work/killed.txt" using 1:(\$3 == run ? \$2 : NaN) with steps lt run lw 2.5 \
        title word("first resumed resumed", run) . (run == 1 ? " run" : run == 2 ? "" : " again"), \
    "$work/resumes.txt" using 1:(3e-5):(0):(2e0) with vectors nohead lt 7 notitle, \
    "" using 1:(0.02):("killed, resumed") with labels rotate left offset -0.8,0 font ",12" \
        tc rgb "#555555" notitle
END
}

# A search whose minimum is outside of its bounds, with an awk program as its function.
picture_box() {
    cat >"$work/box.xml" <<END
<search xmlns="urn:zeibreku:function#">
  <variables>
    <variable><name>x</name><start>-1.2</start><lower>-1.5</lower><upper>0.6</upper></variable>
    <variable><name>y</name><start>-0.5</start><lower>-0.5</lower><upper>1.4</upper></variable>
  </variables>
  <optimizer>
    <nelderMead>
      <defaultSimplexEdgeLength>0.15</defaultSimplexEdgeLength>
      <stoppingThreshold>1e-6</stoppingThreshold>
      <maxFunctionEvaluations>400</maxFunctionEvaluations>
    </nelderMead>
  </optimizer>
</search>
END
    rm -f "$work/box.record"
    # shellcheck disable=SC2016  # the variables are those of awk
    build/release/program/zeibreku search "$work/box.xml" --quiet --record "$work/box.record" -- \
        awk '{ printf "%.17g\n", 100 * ($2 - $1 * $1) ^ 2 + (1 - $1) ^ 2 }' >"$work/box.log"
    best "$work/box.record" >"$work/box.txt"
    awk '$2 == $6 { print $4, $5 }' "$work/box.txt" >"$work/box-path.txt"
    # A contour of the value v is an ellipse in 1 - x and y - x².
    awk 'BEGIN {
        for (split("0.16 1 10 100", levels); ++k in levels;) {
            v = levels[k]
            for (i = 0; i <= 500; ++i) {
                t = i * 6.28318530718 / 500
                x = 1 - sqrt(v) * cos(t)
                print x, x * x + sqrt(v / 100) * sin(t)
            }
            print ""
        }
    }' >"$work/box-contours.txt"
    plot box.svg 760 440 <<END
set title "A search in its box: Rosenbrock’s function from (−1.2, −0.5)"
set xrange [-1.75:1.35]
set yrange [-0.75:1.55]
set size ratio -1
unset grid
set xlabel "x"
set ylabel "y" offset 1
set xtics 0.5
set ytics 0.5
set object 1 rectangle from -1.5,-0.5 to 0.6,1.4 fs empty border lc rgb "black" lw 2
set key outside right center Left reverse samplen 2 width -4 spacing 1.3
set style textbox opaque noborder margins 0.2,0.2
set label 1 "10" center at 0,0.3 boxed front font ",11" tc rgb "#666666"
set label 2 "100" center at 0,0.995 boxed front font ",11" tc rgb "#666666"
set label 3 "bounds" left at -1.45,1.28 font ",12"
plot "$work/box-contours.txt" with lines lc rgb "#bbbbbb" lw 1 title "contours of f", \
    "$work/box.txt" using 4:5 with points pt 7 ps 0.45 lc rgb "#56B4E9" title "evaluated", \
    "$work/box-path.txt" with lines lc rgb "#D55E00" lw 2 title "best so far", \
    "<echo -1.2 -0.5" with points pt 7 ps 0.8 lc rgb "black" title "start, on a bound", \
    "<tail -n 1 $work/box-path.txt" with points pt 6 ps 1.2 lw 2 lc rgb "black" \
        title "answer on a bound, f = 0.16", \
    "<echo 1 1" with points pt 2 ps 1 lw 2 lc rgb "black" title "minimum outside, f = 0"
END
}

# Time over that of the search without workers.
picture_speed-up() {
    build/release/benchmarks/workers >"$work/workers.txt"
    awk 'length($NF) == 16 && $1 ~ /^(Nelder-Mead|Hooke-Jeeves)$/ {
            if ($2 == "none") alone[$1] = $4
            else print $1 "-" $2, $3, alone[$1] / $4
        }' "$work/workers.txt" >"$work/speed-up.txt"
    plot speed-up.svg 760 440 <<END
set title "One search by several workers, with the answer of one"
set xlabel "workers"
set ylabel "times as quick"
set logscale xy 2
set xtics (1, 2, 4, 8, 16)
set ytics (1, 2, 4, 8, 16)
set xrange [0.9:18]
set yrange [0.8:18]
set key outside right center reverse Left samplen 3
kinds = "threads ranks commands"
plot x with lines lt 6 title "never idle, nothing wasted", \
    for [i = 1:3] "<grep ^Nelder-Mead-".word(kinds, i)." $work/speed-up.txt" using 2:3 \
        with linespoints lt 1 pt (i == 1 ? 7 : i == 2 ? 6 : 2) ps 0.7 \
        title "Nelder-Mead, ".word(kinds, i), \
    for [i = 1:3] "<grep ^Hooke-Jeeves-".word(kinds, i)." $work/speed-up.txt" using 2:3 \
        with linespoints lt 2 pt (i == 1 ? 7 : i == 2 ? 6 : 2) ps 0.7 \
        title "Hooke-Jeeves, ".word(kinds, i)
END
}

# The evaluations of a record, "worker start end used number", used if the search took the value.
picture_time-line() {
    cat >"$work/time-line.xml" <<END
<search xmlns="urn:zeibreku:function#">
  <variables>
    <variable><name>x</name><start>-1.2</start></variable>
    <variable><name>y</name><start>1</start></variable>
  </variables>
  <optimizer>
    <nelderMead><maxFunctionEvaluations>70</maxFunctionEvaluations></nelderMead>
  </optimizer>
</search>
END
    rm -f "$work/time-line.record"
    # shellcheck disable=SC2016  # the variables are those of awk
    build/release/program/zeibreku search "$work/time-line.xml" --quiet --workers 6 \
        --record "$work/time-line.record" -- sh -c \
        'sleep 0.1; awk "{ printf \"%.17g\n\", 100 * (\$2 - \$1 * \$1) ^ 2 + (1 - \$1) ^ 2 }"' \
        >"$work/time-line.log"
    awk '$1 == "e" { worker[$2] = $3; start[$2] = $4; end[$2] = $4 + $5 }
        $1 == "a" { used[$3] = ++n }
        END { for (t in worker) print worker[t], start[t], end[t], (t in used), used[t] }' \
        "$work/time-line.record" >"$work/time-line.txt"
    plot time-line.svg 760 330 <<END
set title "The evaluations of a Nelder-Mead search on six workers"
set xlabel "seconds"
set ylabel "worker"
set xrange [0:2.4]
set yrange [5.5:-0.5]
set ytics 1
unset grid
set key outside top center horizontal Left reverse samplen 1.5 width 2
set style fill solid border lc rgb "white"
plot "$work/time-line.txt" using 2:1:2:3:(\$1 - 0.4):(\$1 + 0.4):(\$4 == 1 ? 0x0072B2 : 0xcccccc) \
        with boxxyerror lc rgb variable notitle, \
    "" using ((\$2 + \$3) / 2):(\$4 == 1 ? \$1 : NaN):5 with labels font ",8" tc rgb "white" notitle, \
    keyentry with boxes lc rgb "#0072B2" title "used, with its number in the search", \
    keyentry with boxes lc rgb "#cccccc" title "wasted"
END
}

# draw SCRIPT PICTURE: runs a script that saves a picture. Two runs give the same file.
draw() {
    cat >"$work/matplotlibrc" <<END
backend: agg
svg.fonttype: none
svg.hashsalt: zeibreku
axes.prop_cycle: cycler('color', ['0072B2', 'D55E00', '009E73', 'CC79A7', 'E69F00'])
END
    SOURCE_DATE_EPOCH=0 MATPLOTLIBRC=$work/matplotlibrc PYTHONPATH=build/release/python \
        "$(sed -n 's/^ZEIBREKU_PYTHON:.*=//p' build/release/CMakeCache.txt)" "$1" "$2"
}

# The quick start, the first program of its page, saves climb.svg in the working folder.
picture_python-climb() {
    awk '/^```/ { if (p) exit; p = /python$/; next } p' docs/guide/python.md |
        sed "s|climb.svg|$pictures/python-climb.svg|" >"$work/climb.py"
    draw "$work/climb.py" ""
}

picture_python-fit() { draw examples/python/fit.py "$pictures/python-fit.svg"; }

picture_python-table() { draw examples/python/table.py "$pictures/python-table.png"; }

picture_python-field() { draw examples/python/field.py "$pictures/python-field.png"; }

for name in "$@"; do
    if ! declare -F "picture_$name" >/dev/null; then
        echo "There is no picture '$name'; there are: ${all[*]}" >&2
        exit 2
    fi
done

set_up test benchmarks pictures
cmake --preset release
cmake --build --preset release --target 01_minimise 02_functions 04_tables 05_random_field 06_quadrature \
    09_fit zeibreku_program data_profiles workers zeibreku_python
mkdir -p "$work" "$pictures"
if (($# == 0)); then
    set -- "${all[@]}"
fi
for name in "$@"; do
    "picture_$name"
done
