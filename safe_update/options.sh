# SPDX-License-Identifier: MIT
# --- The command line --------------------------------------------------------------------------------------------------

parse_options() {
    while [ $# -gt 0 ]; do
        case $1 in
            -c | --check) check=true ;;
            -f | --force) force=true ;;
            -p | --any-power) any_power=true ;;
            -j | --json) json=true ;;
            -h | --help) usage; exit 0 ;;
            -V | --version) echo "sv_safe_update @PROJECT_VERSION@"; exit 0 ;;
            --backup=* | --wait=* | --bus=* | --addr=* | --lock=*) set_option "${1%%=*}" "${1#*=}" ;;
            -k | --backup | -w | --wait | -b | --bus | -a | --addr | -l | --lock)
                [ $# -gt 1 ] || wrong_usage "$1 needs a value"
                set_option "$1" "$2"
                shift
                ;;
            --)
                shift
                break
                ;;
            -[cfpj][!-]*)
                rest=${1#??}
                flag=${1%"$rest"}
                shift
                set -- "$flag" "-$rest" "$@"
                continue
                ;;
            -?*) wrong_usage "unknown option $1" ;;
            *) set_file "$1" ;;
        esac
        shift
    done
    for word in "$@"; do
        set_file "$word"
    done
    [ -n "$file" ] || wrong_usage "which update file?"
}

set_file() {
    [ -z "$file" ] || wrong_usage "one update file only"
    [ -n "$1" ] || wrong_usage "the name of the update file is empty"
    set_path "$1"
    file=$path
}

# The tool takes -h and its like for a call for help, wherever they stand. Not with $(), which drops newlines at the end.
set_path() {
    path=$1
    case $path in -*) path=./$path ;; esac
}

set_option() {
    set_path "$2"
    case $1 in
        -k | --backup) backup=$path ;;
        -l | --lock) lock=$path ;;
        -w | --wait) wait_seconds=$2 ;;
        -b | --bus) bus=$2 ;;
        -a | --addr) address=$2 ;;
    esac
    [ -n "$2" ] || wrong_usage "the value of $1 is empty"
    case $1 in
        -k | --backup | -l | --lock) return ;;
        -a | --addr) case ${2#0x} in *[!0-9a-fA-F]*) wrong_usage "$1 needs an address, not '$2'" ;; esac ;;
        -w | --wait) case $2 in *[!0-9]* | 0* | ?????*) wrong_usage "$1 needs 1 to 9999 seconds, not '$2'" ;; esac ;;
        *) case $2 in *[!0-9]*) wrong_usage "$1 needs a number, not '$2'" ;; esac ;;
    esac
}
