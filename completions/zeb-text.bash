# Completion of zeb-text in bash.

_zeb_text() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command=${COMP_WORDS[1]}
    local commands='edit replace match wildcard escape search-replace tokens flatten unquote pad
        number unit date env utf8 xml-fix xml'
    local values='' options=''
    COMPREPLY=()

    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$current")
        return
    fi
    if [ "$command" = xml ]; then
        if [ "$COMP_CWORD" -eq 2 ]; then
            mapfile -t COMPREPLY < <(compgen -W 'check find' -- "$current")
            return
        fi
        command="xml ${COMP_WORDS[2]}"
    fi

    # bash takes --name=value apart into three words.
    if [ "$current" = = ]; then
        current=
    elif [ "$previous" = = ]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $previous in
        --color) values='auto always never' ;;
        --trace) values='debug debug2 debug3' ;;
        --type) values='int8 int16 int32 int64 uint8 uint16 uint32 uint64 real32 real64' ;;
        --attribute | --base | --center | --delimiters | --fill | --left | --right) return ;;
    esac
    if [ -n "$values" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$values" -- "$current")
        return
    fi

    case $command in
        edit | replace) options='--ignore-case --basic' ;;
        match) options='--invert --numbers --only --groups --json --ignore-case --basic' ;;
        wildcard) options='--win32 --re --basic' ;;
        escape) options='--basic' ;;
        tokens) options='--delimiters --json' ;;
        pad) options='--left --right --center --fill' ;;
        number) options='--base --type --json' ;;
        unit | date | env | 'xml check') options='--json' ;;
        'xml find') options='--text --attribute --json' ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options --help --color --trace" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}

complete -o filenames -F _zeb_text zeb-text
