# Takes the programs and files that a page shows out of it, and prints their names:
#
#   awk -v folder=FOLDER -f extract.awk PAGE.md
#
#   a cpp block with a main function      FOLDER/program1.cpp, program2.cpp, ...
#   a text block as the next one          FOLDER/program1.out, what the program prints
#   any block behind "... `name.xml`:"    FOLDER/name.xml
#   all sh blocks, one after the other    FOLDER/commands.sh

function write_to(name) {
    printf "%s", block > (folder "/" name)
    close(folder "/" name)
    print name
}

function append_to(name) {
    printf "%s", block > (folder "/" name)
    if (!(name in appended)) {
        print name
    }
    appended[name] = 1
}

/^ *```/ && !inside {
    inside = 1
    language = $0
    sub(/^ *```/, "", language)
    block = ""
    next
}

/^ *```/ {
    inside = 0
    follows_program = is_program
    is_program = block ~ /int main\(/
    if (is_program && language != "cpp") {
        print FILENAME ":" FNR ": a program in a block that is not cpp" > "/dev/stderr"
        exit 1
    }
    if (is_program) {
        write_to("program" ++programs ".cpp")
        if (name != "") {
            write_to(name)
        }
    } else if (language == "sh") {
        append_to("commands.sh")
    } else if (language == "text" && follows_program) {
        write_to("program" programs ".out")
    } else if (name != "") {
        write_to(name)
    }
    name = ""
    next
}

inside { block = block $0 "\n"; next }

/[^ \t]/ { name = match($0, /`[^`\/ ]+[.][a-z]+`:$/) ? substr($0, RSTART + 1, RLENGTH - 3) : "" }

END {
    if (inside) {
        print FILENAME ": the last block has no end" > "/dev/stderr"
        exit 1
    }
}
