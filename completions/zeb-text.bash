# Completion of zeb-text in bash.
# Made by zeb-text --completion from its own table of commands.

_zeb_text() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command=${COMP_WORDS[1]} first=1
    local seconds='' values='' options=''
    COMPREPLY=()

    if [ "$command" = help ] && [ "$COMP_CWORD" -gt 1 ]; then
        command=${COMP_WORDS[2]} first=2
    fi
    if [ "$COMP_CWORD" -eq "$first" ]; then
        mapfile -t COMPREPLY < <(compgen -W 'edit replace match wildcard escape search-replace tokens flatten unquote pad number unit date env utf8 xml-fix xml help --help --version --completion' -- "$current")
        return
    fi
    case $command in
        xml) seconds='check find' ;;
        --completion) seconds='bash zsh' ;;
    esac
    if [ -n "$seconds" ]; then
        if [ "$COMP_CWORD" -eq $((first + 1)) ]; then
            mapfile -t COMPREPLY < <(compgen -W "$seconds" -- "$current")
            return
        fi
        command="$command ${COMP_WORDS[first + 1]}"
    fi

    # bash takes --name=value apart into three words.
    if [ "$current" = = ]; then
        current=
    elif [ "$previous" = = ]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $command:$previous in
        *:--color) values='auto always never' ;;
        *:--trace) values='debug debug2 debug3' ;;
        'edit:-e' | 'edit:--expression') return ;;
        'match:-e' | 'match:--expression') return ;;
        'match:-A' | 'match:--after') return ;;
        'match:-B' | 'match:--before') return ;;
        'match:-C' | 'match:--context') return ;;
        'tokens:--delimiters') return ;;
        'pad:--left') return ;;
        'pad:--right') return ;;
        'pad:--center') return ;;
        'pad:--fill') return ;;
        'number:--base') return ;;
        'number:--type') values='int8 int16 int32 int64 uint8 uint16 uint32 uint64 real32 real64' ;;
        'xml find:--attribute') return ;;
    esac
    if [ -n "$values" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$values" -- "$current")
        return
    fi

    case $command in
        'edit') options='-e --expression -i --in-place --backup --in-place-write --diff --dry-run -I --ignore-case --basic' ;;
        'replace') options='-g --all --backup --in-place-write --diff --dry-run -I --ignore-case --basic' ;;
        'match') options='-e --expression -f --expressions-from -v --invert -n --numbers -o --only --groups --json -c --count -l --files -q --quiet -H --with-names -h --without-names -r --recursive -A --after -B --before -C --context -E --extended -i --ignore-case --basic' ;;
        'wildcard') options='--win32 --re --basic' ;;
        'escape') options='--basic' ;;
        'tokens') options='--delimiters --json' ;;
        'pad') options='--left --right --center --fill' ;;
        'number') options='--base --type --json' ;;
        'unit') options='--json' ;;
        'date') options='--json' ;;
        'env') options='--json' ;;
        'xml check') options='--json' ;;
        'xml find') options='--all --text --attribute --json' ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options --help --color --trace" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}

complete -o filenames -F _zeb_text zeb-text
