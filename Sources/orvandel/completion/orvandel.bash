# bash completion for orvandel: its commands, each command's options, the
# values of the options that take a fixed set, and files of the kind each
# argument wants (decks, packages, movies, folders).
_orvandel() {
    local cur prev words cword
    _init_completion 2>/dev/null || {
        cur="${COMP_WORDS[COMP_CWORD]}"
        prev="${COMP_WORDS[COMP_CWORD - 1]}"
        words=("${COMP_WORDS[@]}")
        cword=$COMP_CWORD
    }
    local commands="scan notes prepare plan export probe preview chapters scorm h5p"
    local command="" i
    for ((i = 1; i < cword; i++)); do
        case " $commands " in *" ${words[i]} "*) command="${words[i]}"; break ;; esac
    done
    if [[ -z $command ]]; then
        COMPREPLY=($(compgen -W "$commands -h --help -V --version" -- "$cur"))
        return
    fi

    local decks='@(pptx|PPTX|ppsx|PPSX|potx|POTX|pptm|PPTM|ppt|PPT|pps|PPS|odp|ODP|key|KEY)'
    case $prev in
        --renderer) COMPREPLY=($(compgen -W "auto libreoffice powerpoint" -- "$cur")); return ;;
        --effects) COMPREPLY=($(compgen -W "draw cut" -- "$cur")); return ;;
        --resolution) COMPREPLY=($(compgen -W "480p 720p 1080p 1440p 2160p" -- "$cur")); return ;;
        --fps) COMPREPLY=($(compgen -W "30 60" -- "$cur")); return ;;
        --quality) COMPREPLY=($(compgen -W "standard high small" -- "$cur")); return ;;
        --mp4) _filedir '@(mp4|MP4|mov|MOV|m4v|M4V)' 2>/dev/null || COMPREPLY=($(compgen -f -- "$cur")); return ;;
        --deck) _filedir "$decks" 2>/dev/null || COMPREPLY=($(compgen -f -- "$cur")); return ;;
        --out-dir | --cache-dir) _filedir -d 2>/dev/null || COMPREPLY=($(compgen -d -- "$cur")); return ;;
        -o | --output)
            case $command in
                export) _filedir orv 2>/dev/null ;;
                prepare) _filedir pptx 2>/dev/null ;;
                preview) _filedir -d 2>/dev/null ;;
                scorm) _filedir zip 2>/dev/null ;;
                h5p) _filedir h5p 2>/dev/null ;;
                chapters) _filedir vtt 2>/dev/null ;;
            esac
            [[ ${#COMPREPLY[@]} -gt 0 ]] || COMPREPLY=($(compgen -f -- "$cur"))
            return
            ;;
        -j | --jobs | --shard | --video | --gif | --max-part-mib | --max-memory | --cache-max) return ;;
    esac

    local options="-h --help"
    case $command in
        scan | plan) options+=" --json --video --gif --max-part-mib" ;;
        notes) options+=" --json --max-part-mib" ;;
        prepare) options+=" -o --output --video --gif --max-part-mib" ;;
        export)
            options+=" -o --output --out-dir -j --jobs --shard --json --mp4 --video --gif --max-part-mib"
            options+=" --renderer --effects --resolution --fps --quality --allow-links-outside --max-memory"
            options+=" --cache-dir --cache-max --no-cache --chapters --preview --scorm --h5p --with-notes"
            ;;
        probe) options+=" --json" ;;
        preview | scorm) options+=" -o --output --with-notes --deck" ;;
        h5p) options+=" -o --output --deck" ;;
        chapters) options+=" --vtt -o --output" ;;
    esac
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "$options" -- "$cur"))
        return
    fi
    case $command in
        probe | preview | chapters | scorm | h5p) _filedir orv 2>/dev/null || COMPREPLY=($(compgen -f -- "$cur")) ;;
        export) _filedir "$decks" 2>/dev/null || COMPREPLY=($(compgen -f -- "$cur")) ;;
        *) _filedir "$decks" 2>/dev/null || COMPREPLY=($(compgen -f -- "$cur")) ;;
    esac
} &&
    complete -F _orvandel orvandel
