# Completion of ozr-pano for bash. Installed as share/bash-completion/completions/ozr-pano, or sourced.
_ozr_pano()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local formats="nv12 nv21 yv12 yuy2 gray rgba" output="--output -o --jpeg-quality --report --no-metadata --json --verbose"
    COMPREPLY=()

    case $previous in
        -d | --direction)
            local directions="right left down up"
            [ "$command" != video ] || directions+=" auto"
            mapfile -t COMPREPLY < <(compgen -W "$directions" -- "$current")
            return ;;
        --format | --from)
            mapfile -t COMPREPLY < <(compgen -W "$formats" -- "$current")
            return ;;
        --record)
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            compopt -o filenames
            return ;;
        -o | --output | --report)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            compopt -o filenames
            return ;;
        --quality)
            [[ $command == replay || $command == convert ]] ||
                mapfile -t COMPREPLY < <(compgen -W "refined classic" -- "$current")
            return ;;
        --jpeg-quality | --overlap | -n | --pictures | --size | --preview | --seed | --sample | \
            --focal | --lens | --tilt | --exposure | --vignetting | --shutter | --walkers)
            return ;;
    esac

    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "demo stitch video replay convert --help -h --version" -- "$current")
        return
    fi
    if [[ $current == -* ]]; then
        local options="--help -h" sweep="--compare --quality --strict"
        local camera="--focal --lens --tilt --exposure --vignetting --shutter --walkers"
        case $command in
            demo) options+=" $output $sweep --record --direction -d --pictures -n --size --preview --seed $camera" ;;
            stitch | video) options+=" $output $sweep --record --direction -d --overlap" ;;
            replay) options+=" $output --quality" ;;
            convert) options+=" --format --from --size --flip --sample --jpeg-quality --quality" ;;
        esac
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
        return
    fi
    case $command in
        replay) mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
        stitch | video | convert) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    esac
    compopt -o filenames
}
complete -F _ozr_pano ozr-pano
