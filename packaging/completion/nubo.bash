# Completion of calls of nubo, nubo-batch and nubo-join for bash: they know how those go on.
_nubo() {
  local line name suffix suffixes cur=${COMP_WORDS[COMP_CWORD]}
  COMPREPLY=()
  while IFS= read -r line; do
    if [[ $line != :files* ]]; then
      COMPREPLY+=("${line%%$'\t'*}")
      continue
    fi
    compopt -o filenames
    suffixes=" ${line#:files} "
    while IFS= read -r name; do
      suffix=${name##*.}
      [[ $suffixes == "  " || -d $name || $suffixes == *" ${suffix,,} "* ]] && COMPREPLY+=("$name")
    done < <(compgen -f -- "$cur")
  done < <("${COMP_WORDS[0]}" --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}
complete -F _nubo nubo nubo-batch nubo-join
