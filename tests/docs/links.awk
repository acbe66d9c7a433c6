# Follows every link of the pages given as arguments to a file or a heading of the repository:
#
#   awk -f links.awk PAGE.md...

# The anchor of a heading.
function slug(text) {
    text = tolower(text)
    gsub(/[^a-z0-9 _-]/, "", text)
    gsub(/ /, "-", text)
    return text
}

# The path that `link` means on the page `page`, without "." and "..".
function resolve(page, link,    path, parts, n, i, out) {
    sub(/[^\/]*$/, "", page)
    n = split(page link, parts, "/")
    path = page ~ /^\// ? "/" : ""
    for (i = 1; i <= n; ++i) {
        if (parts[i] == "..") {
            sub(/[^\/]*\/$/, "", path)
        } else if (parts[i] != "" && parts[i] != ".") {
            path = path parts[i] "/"
        }
    }
    sub(/\/$/, "", path)
    return path
}

FNR == 1 { fenced = 0 }
/^ *```/ { fenced = !fenced }
fenced { next }
/^#/ { heading[FILENAME "#" slug(substr($0, index($0, " ") + 1))] = 1 }
{
    rest = $0
    gsub(/`[^`]*`/, "", rest)  # code holds no links
    while (match(rest, /\]\([^()]+\)/)) {
        link = substr(rest, RSTART + 2, RLENGTH - 3)
        rest = substr(rest, RSTART + RLENGTH)
        if (link !~ /^[a-z]+:/) {
            place[++links] = FILENAME ":" FNR
            target[links] = link ~ /^#/ ? FILENAME link : resolve(FILENAME, link)
        }
    }
}

END {
    for (i = 1; i <= links; ++i) {
        path = target[i]
        sub(/#.*/, "", path)
        if (system("test -e '" path "'") != 0 || (target[i] ~ /#/ && !(target[i] in heading))) {
            print place[i] ": leads nowhere: " target[i]
            lost = 1
        }
    }
    exit lost
}
