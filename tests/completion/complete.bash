# complete.bash SCRIPT LINE: prints what bash would complete at the end of LINE, with folders marked as it marks them.
source "$1"
COMP_LINE=$2
# As bash splits a line: at blanks, and at "=".
read -ra COMP_WORDS <<<"${COMP_LINE//=/ = }"
[[ $COMP_LINE == *' ' || $COMP_LINE == *= ]] && COMP_WORDS+=('')
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
COMP_POINT=${#COMP_LINE}
_orvtrace orvtrace "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
for candidate in "${COMPREPLY[@]}"; do
    [[ -d $candidate ]] && candidate+=/
    printf '%s\n' "$candidate"
done
