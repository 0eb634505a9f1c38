# Completion for fish, which quotes what it inserts.
function __project_share_offer
    set -l found (project-share complete (commandline -opc)[2..] (commandline -ct) 2>/dev/null)
    switch "$found[1]"
        case files
            __fish_complete_path (commandline -ct)
        case folders
            __fish_complete_directories (commandline -ct)
        case words
            string join -- \n $found[2..]
    end
end

complete -c project-share -f -a '(__project_share_offer)'
