# Completion of orvtrace for fish. The program itself knows what its version accepts.
function __orvtrace_complete
    set -l before (commandline -opc)
    set -l current (commandline -ct)
    set -l typed (string replace -r '^--[^=]*=' '' -- $current)
    set -l option (string match -r '^--[^=]*=' -- $current)
    for line in ($before[1] --complete $before[2..-1] "$current" 2>/dev/null)
        switch $line
            case ':files'
                __fish_complete_path "$typed" | string replace -r '^' "$option"
            case ':folders'
                __fish_complete_directories "$typed" | string replace -r '^' "$option"
            case '*'
                echo $line
        end
    end
end
complete -c orvtrace -f -a '(__orvtrace_complete)'
