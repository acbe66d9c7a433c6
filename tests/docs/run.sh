# run.sh FILE NAME: runs a page's program, and compares what it prints with NAME.out when there is
# one. With documents without content any output and status are accepted, but not a crash.
"$1" >"$2.printed" 2>&1
status=$?
if [ -e "$2.out" ]; then
    diff -u "$2.out" "$2.printed" || exit 1
else
    cat "$2.printed"
fi
if [ "$status" -ne 0 ]; then
    exit "$status"
fi

mkdir -p "$2.empty"
for document in *.xml; do
    if [ -e "$document" ]; then
        sed -n '/^<[a-z]/ { s|/*>$|/>|; p; q; }' "$document" >"$2.empty/$document"
    fi
done
cd "$2.empty" && "$1" >printed 2>&1
if [ $? -gt 128 ]; then
    cat printed
    exit 1
fi
