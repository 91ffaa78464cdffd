# Completion for bash. Commands, options and presets are those that the program lists.
_kelvane() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} IFS=$'\n'
    COMPREPLY=()
    if [ "$COMP_CWORD" = 1 ]; then
        COMPREPLY=($(compgen -W "$(kelvane --help | sed -n 's/^  \([a-z]*\)  *.*/\1/p')" -- "$word"))
    elif [ "$before" = --preset ]; then
        COMPREPLY=($(compgen -W "$(kelvane presets | sed '1d;s/  .*//')" -- "${word//\\/}"))
        COMPREPLY=("${COMPREPLY[@]// /\\ }")
    elif [[ $word == -* ]]; then
        COMPREPLY=($(compgen -W "$(kelvane "${COMP_WORDS[1]}" --help |
            sed -nE 's/^  (-.,)?(--[a-z-]+).*/\2/p')" -- "$word"))
    fi
}
complete -o default -F _kelvane kelvane
