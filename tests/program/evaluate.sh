# shellcheck shell=sh
# `evaluate`: the values of each kind of element, and the calls that have none.
. "$2/tests/program/functions.sh"
examples=$source/examples
q='xmlns="urn:zeibreku:function#"'

# evaluates FILE POINTS OUTPUT [OPTION...]: the output for these points on standard input, as text
# for printf, and for a file of them.
evaluates() {
    # shellcheck disable=SC2059
    printf -- "$2" >points.csv
    # shellcheck disable=SC2059
    printf "$3" >wanted
    xml=$1
    shift 3
    expect 0 "$program" evaluate "$xml" "$@" <points.csv
    diff -u wanted out
    expect 0 "$program" evaluate "$xml" points.csv "$@"
    diff -u wanted out
}

evaluates "$examples/02_functions/line.xml" '0\n0.5\r\n\n-inf\nnan\n' \
    'x,y\n0,1\n0.5,2\n-INF,NaN\nNaN,NaN\n'
evaluates "$examples/02_functions/line.xml" '"say ""t"", s";\ns;\n0,5;\n' \
    '"say ""t"", s",y\n0.5,2\n' --decimal ,
evaluates "$examples/02_functions/s-curve.xml" '' 'x,y\n'
evaluates "$examples/02_functions/s-curve.xml" 't\n' 't,y\n'
evaluates "$examples/02_functions/quadratic.xml" 'a,b\n0,0\n' 'a,b,y\n0,0,-3\n'
evaluates "$examples/02_functions/quadratic.xml" 'x,y\n0,0\n' 'x,y,value\n0,0,-3\n'
evaluates "$examples/02_functions/quadratic.xml" '0,0\n' \
    'x1,x2,y,y direction x1,y direction x2\n0,0,-3,1,0\n' --gradient
echo "<scalarFunctionContainer $q/>" >identity.xml
evaluates identity.xml '3\n' 'x,y\n3,3\n'
echo "<powerUnitaryMap $q><exponent>2</exponent></powerUnitaryMap>" >map.xml
evaluates map.xml '0.5\n' 'x,y\n0.5,0.25\n'
cat >limits.xml <<XML
<multivariableConstraintVector $q>
  <linearMultivariableConstraint><offset>1</offset></linearMultivariableConstraint>
  <linearMultivariableConstraint>
    <firstOrderIndices><item>1</item></firstOrderIndices>
    <firstOrderCoefficients><item>-4</item></firstOrderCoefficients>
  </linearMultivariableConstraint>
</multivariableConstraintVector>
XML
evaluates limits.xml 'a,b\n5,6\n7,8\n' 'a,b,y1,y2\n5,6,1,-24\n7,8,1,-32\n'
evaluates limits.xml 'a,b\n5,6\n' "a,b,y1,y2,y1 direction a,y1 direction b,y2 direction a,y2 dire\
ction b\n5,6,1,-24,0,0,0,-1\n" --gradient
# Where no table covers a point, its values are empty.
evaluates "$examples/04_tables/leaves.xml" '6,5\n4,1.5\n4,0.5\n' 'x1,x2,y\n6,5,2\n4,1.5,\n4,0.5,3\n'
evaluates "$examples/04_tables/aerodynamics.xml" 'angle,Mach\n-5,0.5\n2,0.65\n' \
    'angle,Mach,y1,y2\n-5,0.5,,\n2,0.65,0.39375,0.02525\n'
cat >table.xml <<XML
<tableFunctionInterpolator $q>
  <independentData>
    <tableFunctionVectorSearch><independentVector><item>0</item><item>1</item></independentVector>
    </tableFunctionVectorSearch>
  </independentData>
  <dependentData><item><item>3</item><item>5</item></item></dependentData>
</tableFunctionInterpolator>
XML
evaluates table.xml '0.5\n' 'x,y\n0.5,4\n'
evaluates "$examples/04_tables/leaves.xml" '4,1.5\n' 'x1,x2,y,dy/dx1,dy/dx2\n4,1.5,,,\n' --gradient
printf 'a,b,p,q\n0,0,0,0\n1,0,2,8\n0,1,4,16\n1,1,6,24\n' >grid.csv
expect 0 "$program" table grid.csv --axes 2 -o grid.xml
evaluates grid.xml '0.5,0.25\n' "x1,x2,y1,y2,dy1/dx1,dy1/dx2,dy2/dx1,dy2/dx2
0.5,0.25,2,8,2,4,8,16\n" --gradient
evaluates table.xml '0.5\n7\n' 'x,y,dy/dx\n0.5,4,2\n7,5,0\n' --gradient

# A rule: its nodes from left to right.
echo "<gaussQuadrature $q><order>3</order></gaussQuadrature>" >rule.xml
expect 0 "$program" evaluate rule.xml
test "$(cut -c1-9 out | tr '\n' ' ')" = 'node,weig -0.774596 0,0.88888 0.7745966 '
has out '^-0.7745966692414834,0.5555555555555556$' '^0.7745966692414834,0.5555555555555556$'
echo "<gaussQuadrature $q><order>2</order></gaussQuadrature>" >rule.xml
expect 0 "$program" evaluate rule.xml
test "$(cut -d, -f1 out | tr '\n' ' ')" = 'node -0.5773502691896257 0.5773502691896257 '

# Many rows, in several blocks; the rows before a fault are printed. Short ones fill a block.
awk 'BEGIN { for (i = 0; i < 5000; i++) print i % 7 "," i % 9 }' >many.csv
echo 'x,1' >>many.csv
expect 1 "$program" evaluate "$examples/02_functions/quadratic.xml" many.csv
has err '^many.csv:5001: expected a number in column 1, found "x"$'
awk -F, 'NR > 1 && ($1 != (NR - 2) % 7 || $2 != (NR - 2) % 9 ||
    $3 != $1 + $1 * $1 + 2 * $1 * $2 - 3) { print; exit 1 }' out
test "$(wc -l <out)" -eq 5001
expect 1 sh -c '"$@" >/dev/full' sh "$program" evaluate "$examples/02_functions/line.xml" points.csv
has err '^zeibreku: standard output: No space left'
# If the reader has had enough, the program ends.
yes 0 | {
    found=0
    "$program" evaluate "$examples/02_functions/line.xml" 2>err || found=$?
    echo "$found" >status
} | head -1
test "$(cat status)" -eq 1
test ! -s err

# A program that waits for each value gets it.
mkfifo questions answers
timeout 60 "$program" evaluate "$examples/02_functions/line.xml" <questions >answers &
exec 3>questions 4<answers
for x in 0 1 2; do
    echo "$x" >&3
    if [ "$x" -eq 0 ]; then
        read -r header <&4
        test "$header" = x,y
    fi
    read -r answer <&4
    test "$answer" = "$x,$((2 * x + 1))"
done
exec 3>&-
wait $!

# What has no values, and wrong calls: one message each.
refuses() {
    status=$1
    pattern=$2
    shift 2
    expect "$status" "$program" evaluate "$@" </dev/null
    test ! -s out
    test "$(wc -l <err)" -eq 1
    has err "$pattern"
}
refuses 1 'optimizer.xml: holds optimizerContainer, which has no values: ' \
    "$examples/02_functions/optimizer.xml"
refuses 1 'absent.xml: cannot be read: No such' absent.xml
refuses 1 'absent.csv: cannot be read: No such' map.xml absent.csv
refuses 1 '^[.]:1: cannot be read: Is a directory' map.xml .
refuses 1 'map.xml: holds a function without gradients' map.xml --gradient
refuses 1 'points.csv:1: expected points of 2 coordinates, found rows of 1' \
    "$examples/04_tables/leaves.xml" points.csv
refuses 2 'rule.xml: a quadrature rule has nodes and weights' rule.xml points.csv
echo "<gaussQuadrature $q><order>21</order></gaussQuadrature>" >rule.xml
refuses 1 'rule.xml: a quadrature rule of order 21 is not supported' rule.xml
echo "<compositeFunctionContainer $q/>" >empty.xml
refuses 1 'empty.xml: compositeFunctionContainer is empty' empty.xml
expect 2 "$program" evaluate
