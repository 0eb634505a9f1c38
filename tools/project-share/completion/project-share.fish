# The words given so far that are no options.
function __project_share_given
    set -l skip no
    for word in (commandline -opc)[2..]
        if test $skip = yes
            set skip no
        else if contains -- $word -C --allow --profile --receipt
            set skip yes
        else if not string match -q -- '-*' $word
            echo -- $word
        end
    end
end

# COUNT REGEX: so many words are given, or any number ('*'), and they match.
function __project_share_at
    set -l given (__project_share_given)
    string match -q -- $argv[1] (count $given); and string match -qr -- $argv[2] "$given"
end

# The names of labels or profiles.
function __project_share_names
    set -l words (commandline -opc)
    set -l in
    set -l at (contains -i -- -C $words); and set in -C $words[(math $at + 1)]
    project-share $in $argv list --json 2>/dev/null | sed -n '
        s/.*"category":"\([^"\\\\]*\)","name":"\([^"\\\\]*\)".*/\1\/\2/p; t
        /"category"/!s/.*"name":"\([^"\\\\]*\)".*/\1/p' | string match -v -- '-*'
end

function __project_share_offer -a count regex
    complete -c project-share -n "__project_share_at '$count' '$regex'" $argv[3..]
end

complete -c project-share -f
complete -c project-share -o C -xa '(__fish_complete_directories)' -d 'Work in this folder'
complete -c project-share -l json -d 'Write one JSON object a line'
complete -c project-share -l quiet -d 'Write nothing but what was asked for'
complete -c project-share -l trust -d 'Open the project although it belongs to another user'
complete -c project-share -l version -d 'Print the version'
complete -c project-share -s h -l help -d 'Print help'

set -l offer __project_share_offer
$offer 0 '' -a init -d 'Make a folder a project'
$offer 0 '' -a trust -d 'Open a project although it belongs to another user'
$offer 0 '' -a status -d 'Show what is labelled, and what a share would be refused for'
$offer 0 '' -a label -d 'Labels'
$offer 0 '' -a profile -d 'Profiles: stored rules of what is held back'
$offer 0 '' -a preview -d 'Show what a share would hand out, and what not and why'
$offer 0 '' -a why -d 'Tell why one path stays or goes'
$offer 0 '' -a share -d 'Hand out a copy'
$offer 0 '' -a verify -d 'Check a copy against the receipt of its share'

$offer 1 '^label' -a create -d 'Create labels'
$offer 1 '^label' -a list -d 'List the labels'
$offer 1 '^label' -a rename -d 'Give a label another name'
$offer 1 '^label' -a delete -d 'Delete a label that no profile names'
$offer 1 '^label' -a protect -d 'Let no filter remove the label'
$offer 1 '^label' -a unprotect -d 'Let filters remove the label'
$offer 1 '^label' -a attach -d 'Attach a label to files, links and folders'
$offer 1 '^label' -a detach -d 'Take a label off files, links and folders'
$offer '*' '^label create' -a '(__project_share_names label)'
$offer 2 '^label (rename|delete|protect|unprotect|attach|detach)' -a '(__project_share_names label)'
$offer '*' '^label (attach|detach) .' -F
$offer '*' '^label (attach|detach)' -l folder-only -d 'The folders alone, not what lies below them'
$offer '*' '^label (attach|detach)' -l stdin -d 'Read the paths from standard input'
$offer '*' '^label (attach|detach)' -s 0 -d 'With --stdin: each path ends with a zero byte'

$offer 1 '^profile' -a create -d 'Create a profile without filters'
$offer 1 '^profile' -a list -d 'List the profiles'
$offer 1 '^profile' -a show -d 'Show a profile\'s filters'
$offer 1 '^profile' -a explain -d 'Tell in words what a profile takes out'
$offer 1 '^profile' -a rename -d 'Give a profile another name'
$offer 1 '^profile' -a duplicate -d 'Make another profile with the same filters'
$offer 1 '^profile' -a delete -d 'Delete a profile'
$offer 1 '^profile' -a add-filter -d 'Add a filter, or labels to the filter of that kind'
$offer 1 '^profile' -a remove-filter -d 'Remove a filter, or only the labels named'
$offer 2 '^profile (show|explain|rename|duplicate|delete|.*-filter)' -a '(__project_share_names profile)'
$offer 3 '^profile [a-z]*-filter' -a 'drop-files keep-files drop-labels keep-labels'
$offer '*' '^profile [a-z]*-filter .* (drop|keep)-' -a '(__project_share_names label)'

$offer 1 '^(preview|share)' -a '(__project_share_names profile)'
$offer '*' '^(init|trust|why|share|verify)' -F
$offer '*' '^why' -l profile -xa '(__project_share_names profile)' -d 'Name or UUID'
$offer '*' '^share' -l whole -d 'Everything, without a profile'
$offer '*' '^share' -l strict -d 'Refuse where a filter takes nothing out'
$offer '*' '^share' -l receipt -rF -d 'A JSON file to be made, for you'
$offer '*' '^share' -l allow -x -d 'Share in spite of this reason' -a 'folder-spared label-on-missing-path label-deleted
    filter-skipped history-inside leftover same-content nested-project label-leaves label-protected nothing-shared
    names-collide entry-changed'
$offer '*' '^trust' -l forget -d 'Trust the project no more'
$offer '*' '^verify' -l receipt -rF -d 'The file that share made'
