# Completion for fish. Commands, options and presets are those that the program lists.
function __kelvane_options
    kelvane (commandline -opc)[2] --help |
        string replace -rf '^  (?:-.,)?(--[a-z-]+)(?: [^ ]+)?(?: \.\.\.)? +(.*)' '$1\t$2'
end
complete -c kelvane -n __fish_use_subcommand -f \
    -a "(kelvane --help | string replace -rf '^  ([a-z]+) +(.*)' '\$1\t\$2')"
complete -c kelvane -n 'not __fish_use_subcommand; and string match -q -- "-*" (commandline -ct)' -f \
    -a '(__kelvane_options)'
complete -c kelvane -n 'string match -q -- --preset (commandline -opc)[-1]' \
    -a "(kelvane presets | sed '1d;s/  .*//')"
