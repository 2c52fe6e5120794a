# Completion of orvtrace for bash. The program itself knows what its version accepts.
_orvtrace() {
    local program=${COMP_WORDS[0]/#\~\//$HOME/} current=${COMP_WORDS[COMP_CWORD]} before='' line word name
    # bash makes a word of its own of the "=" in --mode=pti, and replaces only what follows it.
    if [[ $current == = ]]; then
        current=''
        before='*='
    elif ((COMP_CWORD > 1)) && [[ ${COMP_WORDS[COMP_CWORD - 1]} == = ]]; then
        before='*='
    fi
    COMPREPLY=()
    while IFS= read -r line; do
        line=${line%$'\r'}
        word=${line%%$'\t'*}
        case $word in
        :files)
            compopt -o filenames 2>/dev/null
            while IFS= read -r name; do COMPREPLY+=("$name"); done < <(compgen -f -- "$current")
            ;;
        :folders)
            compopt -o filenames 2>/dev/null
            while IFS= read -r name; do COMPREPLY+=("$name"); done < <(compgen -d -- "$current")
            ;;
        ?*) COMPREPLY+=("${word#$before}") ;;
        esac
    done < <("$program" --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
    # A value follows its "=" in the same word.
    [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *= ]] && compopt -o nospace 2>/dev/null
    return 0
}
complete -F _orvtrace orvtrace
