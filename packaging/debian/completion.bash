# Completion of orvane for bash.
_orvane()
{
    local commands='encode decode info verify inspect plot repair config'
    local everywhere='--quiet --force --max-pixels --help'
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' word words=''
    COMPREPLY=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ " $commands " != *" $word "* ]] || { command=$word && break; }
    done

    case $previous in
        --format) words='auto rgb rgba yuv444 yuv422 yuv420 yuva444 gray' ;;
        --method) words='gradient median dynamic' ;;
        --matrix) words='601 709' ;;
        --to)
            # The tool's own list.
            words=$("${COMP_WORDS[0]}" decode --help 2>/dev/null | sed -n 's/.*Layout of the pictures: //p' | tr -d ,)
            ;;
        --threads | --fps | --raw | --frame | --max-pixels) return ;;
        --frames) [[ $command != decode ]] || return ;;
    esac
    if [[ -z $words && ($current == -* || -z $command || $command == config) ]]; then
        case $command in
            '') words="$commands --help --version --quiet --force --max-pixels" ;;
            encode) words="--output --format --lossless --method --threads --interlaced --no-interlaced --matrix
                --full-range --no-full-range --interpolate --no-interpolate --fps --raw --verify $everywhere" ;;
            decode) words="--output --to --frames --threads --no-check --hold $everywhere" ;;
            info) words="--frames --json $everywhere" ;;
            verify) words="--against --after-conversion --raw --strict $everywhere" ;;
            inspect) words="--frame --output $everywhere" ;;
            plot) words="--output $everywhere" ;;
            repair) words="--output --fps --add-checksums $everywhere" ;;
            config) words='list get set reset --help' ;;
        esac
    fi
    if [[ -n $words ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames 2>/dev/null
    fi
}
complete -F _orvane orvane
