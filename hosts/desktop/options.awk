# Writes completions for bash, zsh and fish, and the manual page with its lists of options, from lines that options.sh takes
# from the program's help. -v folder: where they go, and where the page's text is (kelvane.1.text).
BEGIN { FS = "\t"; q = "\047"; presets = "kelvane presets 2>/dev/null | sed '1d;s/  .*//'" }

function inShell(text) { gsub(q, q "\\" q q, text); return q text q }
function inFish(text) { gsub(q, "\\" q, text); return q text q }

$1 == "parameter" { isParameter[$2] = 1 }

$1 == "command" {
    commands = commands $2 "\n"
    described = described " " inShell($2 ":" $3)
    fish = fish "complete -c kelvane -n __fish_use_subcommand -f -a " $2 " -d " inFish($3) "\n"
}

$1 == "option" {
    command = $2; name = $3; letter = $4; value = $5; text = $6
    words[command] = words[command] "--" name "\n"
    fish = fish "complete -c kelvane -n '__fish_seen_subcommand_from " command "' -l " name (letter ? " -s " letter : "") \
        (name == "preset" ? " -a \"(" presets ")\"" : "") (value ? " -r" : "") " -d " inFish(text) "\n"
    list = name in isParameter ? "parameters" : command
    if (name != "help" && !((list, name) in listed)) {
        listed[list, name] = 1
        lists[list] = lists[list] ".It " (letter ? "Fl " letter " , " : "") "Fl -" name (value ? " Ar " tolower(value) : "") \
            "\n" toupper(substr(text, 1, 1)) substr(text, 2) (text ~ /[.]$/ ? "\n" : ".\n")
    }
    gsub(/[]:[]/, "\\\\&", text)
    specs[command] = specs[command] " \\\n        " inShell("--" name (value ? "=[" text "]:" value ":_files" : "[" text "]"))
}

END {
    bash = "_kelvane() {\n" \
        "    local word=${COMP_WORDS[COMP_CWORD]} words= IFS=$'\\n'\n" \
        "    case $COMP_CWORD:${COMP_WORDS[COMP_CWORD - 1]}:${COMP_WORDS[1]}:$word in\n" \
        "    1:*) words='" commands "' ;;\n" \
        "    *:--preset:*) words=$(" presets ") word=${word//\\\\/} ;;\n"
    zsh = "#compdef kelvane\nif (( CURRENT == 2 )); then\n    local -a commands=(" described ")\n" \
        "    _describe command commands\n    return\nfi\n" \
        "if [[ $words[CURRENT-1] == --preset ]]; then\n    compadd -- ${(f)\"$(" presets ")\"}\n    _files\n    return\nfi\n" \
        "case $words[2] in\n"
    count = split(commands, names, "\n") - 1
    for (i = 1; i <= count; ++i) {
        command = names[i]
        bash = bash "    *:" command ":-*) words='" words[command] "' ;;\n"
        zsh = zsh command ") _arguments" specs[command] " \\\n        '*:file:_files' ;;\n"
    }
    print bash "    esac\n    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n" \
        "    COMPREPLY=(\"${COMPREPLY[@]// /\\\\ }\")\n}\ncomplete -o default -F _kelvane kelvane" >(folder "/kelvane.bash")
    print zsh "esac" >(folder "/_kelvane")
    printf "%s", fish >(folder "/kelvane.fish")
    while ((getline line <(folder "/kelvane.1.text")) > 0)
        if (sub(/^[.].. options of /, "", line)) {
            list = line
            printf "%s", lists[list] >(folder "/kelvane.1")
            delete lists[list]
        } else
            print line >(folder "/kelvane.1")
    for (list in lists) {
        print "the manual page has no place for the options of " list
        exit 1
    }
}
