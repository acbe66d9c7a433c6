# shellcheck shell=bash
# Completion for zeibreku(1).
_zeibreku() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} i
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "search verify report check schema table evaluate --help --version" -- "$word")
        return
    fi
    # Behind "--" stand the words of another program.
    for ((i = 2; i < COMP_CWORD; i++)); do
        if [[ ${COMP_WORDS[i]} == -- ]]; then
            if ((i == COMP_CWORD - 1)); then
                mapfile -t COMPREPLY < <(compgen -c -- "$word")
            fi
            return
        fi
    done
    case ${COMP_WORDS[1]}:$word in
        search:-*)
            if [[ $before != --record && $before != --report && $before != --workers ]]; then
                mapfile -t COMPREPLY < <(compgen \
                    -W "--record --workers --report --quiet --help --" -- "$word")
            fi
            ;;
        check:-*)
            if [[ $before != --grid && $before != --spacing ]]; then
                mapfile -t COMPREPLY < <(compgen \
                    -W "--lint --disable --as --grid --spacing --help" -- "$word")
            fi
            ;;
        check:*)
            if [[ $before == --disable ]]; then
                mapfile -t COMPREPLY < <(compgen -W "$(zeibreku check --help |
                    sed -n '/^What each rule/,$ s/^  \([a-z-]*\) .*/\1/p')" -- "$word")
            elif [[ $before == --as ]]; then
                mapfile -t COMPREPLY < <(compgen -W "correlation" -- "$word")
            fi
            ;;
        table:-*)
            mapfile -t COMPREPLY < <(compgen \
                -W "--axes --search --low --high --decimal --output --help" -- "$word")
            ;;
        table:*)
            if [[ $before == --search ]]; then
                mapfile -t COMPREPLY < <(compgen -W "bisection linear equal_spaced" -- "$word")
            elif [[ $before == --low || $before == --high ]]; then
                mapfile -t COMPREPLY < <(compgen -W "limit extrapolate" -- "$word")
            fi
            ;;
        evaluate:-*)
            mapfile -t COMPREPLY < <(compgen -W "--gradient --decimal --help" -- "$word")
            ;;
        *:-*) mapfile -t COMPREPLY < <(compgen -W "--help" -- "$word") ;;
    esac
}
# Where the function has no words, files are completed.
complete -o bashdefault -o default -F _zeibreku zeibreku
