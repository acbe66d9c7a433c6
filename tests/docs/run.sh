# run.sh FILE NAME: runs a page's program, and compares what it prints with NAME.out when there is one.
"$1" >"$2.printed" 2>&1
status=$?
if [ -e "$2.out" ]; then
    diff -u "$2.out" "$2.printed" || exit 1
else
    cat "$2.printed"
fi
exit "$status"
