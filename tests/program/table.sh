# shellcheck shell=sh
# `table` and `evaluate`: from the rows of a spreadsheet to values.
. "$2/tests/program/functions.sh"

# As a spreadsheet exports it; a table of lift over angle and Mach number.
printf '\357\273\277sep=;\r\nangle;Mach;"lift; total";\r\ndeg;-;-;\r\n' >wing.csv
printf '4;0,8;1,5;\r\n0;0,2;0,5;\r\n4;0,2;1;\r\n0;0,8;0,75;\r\n;;;\r\n' >>wing.csv
expect 0 "$program" table wing.csv --axes 2 --decimal , --search equal_spaced,bisection \
    --low limit,extrapolate --high extrapolate -o wing.xml
test ! -s out
expect 0 "$program" table wing.csv --axes 2 --decimal , --search equal_spaced,bisection \
    --low limit,extrapolate --high extrapolate
cmp out wing.xml
has wing.xml '"equal_spaced" lowerBoundaryOption="limit" upperBoundaryOption="extrapolate"' \
    '"bisection" lowerBoundaryOption="extrapolate" upperBoundaryOption="extrapolate"'
expect 0 "$program" table wing.csv --axes 2 --decimal ,
test "$(grep -c '"bisection" lowerBoundaryOption="limit" upperBoundaryOption="limit"' out)" -eq 2
expect 0 "$program" check wing.xml
has out '^wing.xml: good, compositeFunctionContainer$'

# Refusals leave the file of the last call.
expect 1 "$program" table wing.csv --axes 2 -o wing.xml
has err '^wing.csv:4: expected a number with a decimal point in column "Mach", found "0,8"; .*--dec'
expect 1 "$program" table absent.csv --axes 2 -o wing.xml
has err '^absent.csv: cannot be read: No such file'
for call in 'wing.csv' 'wing.csv --axes 0' 'wing.csv --axes 2 --low none' '--axes 2' \
    'wing.csv --axes 2 --low limit,' 'wing.csv --axes 2 --high limit,limit,limit' 'wing.csv --axes 2 --decimal x'; do
    # shellcheck disable=SC2086
    expect 2 "$program" table $call -o wing.xml
done
has err 'x not in'
expect 2 "$program" table wing.csv --axes 2 --decimal , -o ''
has err 'expected the name of a file, found an empty one'
expect 2 "$program" table wing.csv --axes 1 --low limit,limit
has err 'expected 1 item, found 2'
cp wing.csv kept.csv
expect 2 "$program" table wing.csv --axes 2 --decimal , -o ./wing.csv
has err '^zeibreku: --output ./wing.csv is the file of the grid$'
cmp wing.csv kept.csv
expect 1 "$program" table wing.csv --axes 2 --decimal , -o absent/wing.xml
has err '^absent/wing.xml: cannot be written: No such'
