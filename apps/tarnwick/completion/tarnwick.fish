# How fish completes the command lines of tarnwick. The program itself is asked what may follow.

function __tarnwick_complete
    set -l words (commandline -opc)
    set -l token (commandline -ct)
    # A quote that is still open has no end to be found.
    set -l typed (string unescape -- $token; or string replace -ra '[\'"]' '' -- $token)
    set -l answer ($words[1] complete -- $words[2..-1] "$typed" 2>/dev/null </dev/null)
    set -l option (string match -r -- '^--[^=]*=' $typed)
    set -l path (string replace -r -- '^--[^=]*=' '' $typed)
    switch "$answer[1]"
        case words
            printf '%s\n' $answer[2..-1]
        case files
            printf "$option%s\n" (__fish_complete_path $path)
        case folders
            printf "$option%s\n" (__fish_complete_directories $path '')
    end
end

complete -c tarnwick -f -a '(__tarnwick_complete)'
