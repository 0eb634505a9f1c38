# Completion for bash. What the names of a project say is compared and quoted, never expanded.
_project_share() {
  local part word='' before='' mode candidate quoted=''
  local plain='A-Za-z0-9/._+@%:,= -'
  local -a words=()
  # As the program gets them: without quotes, and in one where bash ends a word at '=' or ':'.
  for part in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
    part=${part//[\\\'\"]/}
    if [[ ${#words[@]} -gt 0 && $part == [=:]* || $word == *[=:] ]]; then
      before=$word
      unset 'words[-1]'
    else
      before=''
    fi
    word=$before$part
    words+=("$word")
    [[ $part != [=:] ]] || before=$word
  done
  # Behind a quote that was typed the shell takes what is inserted as it stands, and a quote in it ends the other one:
  # only names that need no quotes are offered there.
  [[ ${COMP_WORDS[*]:1:COMP_CWORD} != *[\\\'\"]* ]] || quoted=yes
  COMPREPLY=()
  {
    IFS= read -r mode
    while IFS=$'\t' read -r candidate _; do
      [[ $candidate == "$word"* ]] || continue
      if [[ -z $quoted ]]; then
        printf -v 'COMPREPLY[${#COMPREPLY[@]}]' %q "${candidate#"$before"}"
      elif [[ $candidate != *[!$plain]* ]]; then
        COMPREPLY+=("${candidate#"$before"}")
      fi
    done
  } < <(project-share complete "${words[@]}" 2>/dev/null)
  case $mode in
    files) compopt -o default ;;
    folders) compopt -o dirnames ;;
  esac
}

complete -F _project_share project-share
