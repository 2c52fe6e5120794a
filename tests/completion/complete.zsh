# complete.zsh FOLDER LINE: prints what zsh completes at the end of LINE, with the script of FOLDER. A second shell, in a
# pseudo-terminal, is given the line and the key: completion works in no other way.
zmodload zsh/zpty
zpty -b inner "zsh -f -i"
function send { zpty -w inner "$1" }
function until_text {
    local text='' part
    for _ in {1..200}; do
        if zpty -r -t inner part; then text+=$part; else sleep 0.05; fi
        [[ $text == *$1* ]] && return
    done
}
send "PROMPT='' RPROMPT='' ZLE_RPROMPT_INDENT=0; fpath=(${(q)1} \$fpath); autoload -Uz compinit; compinit -u -d \$HOME/.zcd"
send "zstyle ':completion:*' list-grouped false; zstyle ':completion:*' verbose no; LISTMAX=1000; setopt no_list_ambiguous"
# The candidates go to a file as they are added, and none into the line.
send "compadd () { if [[ \${@[1,(i)(-|--)]} == *-(O|A|D)\\ * ]]; then builtin compadd \"\$@\"; return; fi;
  local -a __found; builtin compadd -A __found \"\$@\"; local -a __rest; 
  builtin zparseopts -D -E -a __rest P: i: S: I: p: s: W: f q; local __dir='';
  for __each in \$__found; do __show=\${__each//\\\\/}; [[ -d \$__show ]] && __show+=/;
    [[ \$IPREFIX == --*= ]] && __show=\$IPREFIX\$__show; print -r -- \$__show >>\$HOME/found; done; }"
send "function finish { zle complete-word; print done >>\$HOME/finished; zle kill-whole-line }; zle -N finish"
send "bindkey '^I' complete-word; bindkey '^X^F' finish; echo ready-now"
until_text "ready-now"
sleep 0.1
zpty -w -n inner "$2"$'\x18\x06'
for _ in {1..200}; do
    [[ -e $HOME/finished ]] && break
    sleep 0.05
    zpty -r -t inner ignored
done
[[ -e $HOME/found ]] && cat $HOME/found
rm -f $HOME/found $HOME/finished
zpty -d inner
