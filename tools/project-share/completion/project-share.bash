# Completion for bash. Where there is nothing to offer, it offers files.

# The names of labels or profiles. They are data of a project: compared and quoted, never expanded, and
# never offered where they would be an option.
_project_share_names() {
  local name
  while IFS= read -r name; do
    [[ $name == "$current"* && $name != -* ]] && printf -v name %q "$name" && COMPREPLY+=("$name")
  done < <(project-share "${in[@]}" "$1" list --json 2>/dev/null | sed -n '
    s/.*"category":"\([^"\\]*\)","name":"\([^"\\]*\)".*/\1\/\2/p; t
    /"category"/!s/.*"name":"\([^"\\]*\)".*/\1/p')
}

_project_share() {
  local current=${COMP_WORDS[COMP_CWORD]} words= options= names= i
  local -a given=() in=()
  for ((i = 1; i < COMP_CWORD; i++)); do
    case ${COMP_WORDS[i]} in
      -C) in=(-C "${COMP_WORDS[++i]}") ;;
      --allow | --profile | --receipt) ((++i)) ;;
      =) ((++i)) ;;  # --allow REASON=PATH comes in three words
      -*) ;;
      *) given+=("${COMP_WORDS[i]}") ;;
    esac
  done

  case "${given[0]-} ${given[1]-}" in
    " ") words="init trust status label profile preview why share verify" ;;
    "label ") words="create list rename delete protect unprotect attach detach" ;;
    "profile ") words="create list show explain rename duplicate delete add-filter remove-filter" ;;
    "label list" | "profile list" | "profile create") ;;
    "label create") names=label ;;
    "label attach" | "label detach") options="--folder-only --stdin -0" ;;&
    "label "*) [ ${#given[@]} -gt 2 ] || names=label ;;
    "profile "*-filter)
      case ${#given[@]} in
        2) names=profile ;;
        3) words="drop-files keep-files drop-labels keep-labels" ;;
        *) names=label ;;
      esac
      ;;
    "profile "*) [ ${#given[@]} -gt 2 ] || names=profile ;;
    "why "*) options="--profile" ;;
    "verify "*) options="--receipt" ;;
    "trust "*) options="--forget" ;;
    "share "*) options="--allow --receipt --strict --whole" ;;&
    "share "* | "preview "*) [[ ${#given[@]} -gt 1 || " ${COMP_WORDS[*]} " == *" --whole "* ]] || names=profile ;;
  esac
  options+=" -C --json --quiet --trust --version -h --help"

  COMPREPLY=()
  case ${COMP_WORDS[COMP_CWORD - 1]} in
    --allow)
      words="folder-spared label-on-missing-path label-deleted filter-skipped history-inside leftover same-content"
      words+=" nested-project label-leaves label-protected nothing-shared names-collide entry-changed" names=
      ;;
    --profile) names=profile ;;
    -C | --receipt | =) return ;;
    *) [[ $current != -* ]] || words=$options names= ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  [ -z "$names" ] || _project_share_names "$names"
}

complete -o default -F _project_share project-share
