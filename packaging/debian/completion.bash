# Completion of orvane for bash.
_orvane()
{
    local commands='encode decode info verify inspect plot repair config'
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' word words=''
    COMPREPLY=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ " $commands " != *" $word "* ]] || { command=$word && break; }
    done

    case $previous in
        --format) words='auto rgb rgba yuv444 yuv422 yuv420 yuva444 gray' ;;
        --method) words='gradient median dynamic' ;;
        --matrix) words='601 709' ;;
        --to) words='RGB24 RGB32 RGBA I420 IYUV YV12 YUY2 YUYV UYVY 2vuy 2Vuy HDYC I444 YV24 v308 AYUV v408 Y800 Y8 GREY' ;;
        --threads | --fps | --raw | --frame) return ;;
        --frames) [[ $command != decode ]] || return ;;
    esac
    if [[ -z $words && ($current == -* || -z $command || $command == config) ]]; then
        case $command in
            '') words="$commands --help --version --quiet" ;;
            encode) words='--output --format --method --threads --interlaced --no-interlaced --matrix --full-range
                --no-full-range --interpolate --no-interpolate --fps --raw --verify --help' ;;
            decode) words='--output --to --frames --threads --help' ;;
            info) words='--frames --json --help' ;;
            verify) words='--against --raw --help' ;;
            inspect) words='--frame --output --help' ;;
            plot | repair) words='--output --help' ;;
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
