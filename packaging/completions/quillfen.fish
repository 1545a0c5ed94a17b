# SPDX-License-Identifier: GPL-3.0-or-later
complete -c quillfen -f
complete -c quillfen -l help -d 'Say how it is called'
complete -c quillfen -l version -d 'Say which version it is'
complete -c quillfen -l preferences -d 'Show the preferences window'
complete -c quillfen -l quit -d 'End the running program'
complete -c quillfen -l headless -d 'Run without a display and a tray'
complete -c quillfen -l autostart -x -a 'on off' -d 'Start with the session'
complete -c quillfen -l status -d 'Say what the running program shows'
complete -c quillfen -l status=json -d 'The same as JSON'
complete -c quillfen -l follow -d 'Print a JSON line at each change'
