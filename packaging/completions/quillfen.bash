# SPDX-License-Identifier: GPL-3.0-or-later
# bash completion for quillfen(1)

_quillfen() {
  case ${COMP_WORDS[COMP_CWORD - 1]} in
    --autostart)
      mapfile -t COMPREPLY < <(compgen -W "on off" -- "${COMP_WORDS[COMP_CWORD]}")
      ;;
    *)
      mapfile -t COMPREPLY < <(compgen -W "--autostart --follow --headless --help --preferences
        --quit --status --status=json --version" -- "${COMP_WORDS[COMP_CWORD]}")
      ;;
  esac
}
complete -F _quillfen quillfen
