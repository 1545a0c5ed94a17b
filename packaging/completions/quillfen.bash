# SPDX-License-Identifier: GPL-3.0-or-later
# bash completion for quillfen(1)

_quillfen() {
  local word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]} values
  # readline makes a word of its own of the "=" between an option and its value
  if [[ $word == "=" ]]; then
    word=
  elif [[ $option == "=" ]]; then
    option=${COMP_WORDS[COMP_CWORD - 2]}
  elif [[ $option == --status ]]; then
    option=
  fi
  case $option in
    --autostart) values="on off" ;;
    --status) values="json" ;;
    *)
      values="--autostart --follow --headless --help --preferences
        --quit --status --status=json --version"
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$values" -- "$word")
}
complete -F _quillfen quillfen
