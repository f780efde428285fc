# bash completion for qvtransfer-cli
_qvtransfer_cli() {
    local cur prev
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD - 1]}
    case $prev in
        --device)
            # A device record is a property list.
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -X '!*.plist' -- "$cur"; compgen -d -- "$cur")
            return ;;
        --das)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -d -- "$cur")
            return ;;
        --nas | --serial | --name | --user | --destination)
            # Values the device knows, not the local machine: nothing to offer.
            COMPREPLY=()
            return ;;
    esac
    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--device --das --nas --serial --name --user
            --password-stdin --destination --move --resume --replace-interrupted --quiet --json --help --version' -- "$cur")
        return
    fi
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$cur")
}
complete -F _qvtransfer_cli qvtransfer-cli
