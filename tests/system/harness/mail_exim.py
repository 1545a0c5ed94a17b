# SPDX-License-Identifier: GPL-3.0-or-later
"""Exim."""

import re
from collections import Counter

from .mail_server import (CLEAR, DOMAIN, GREYLISTED, IMPLICIT, INTERNATIONAL_DOMAIN, MOST_OCTETS,
                          NOBODY, PASSWORD, REFUSED, STARTTLS, USER, MailServer)

# Its macros (words in capitals) are those of Exim.macros().
CONFIGURATION = r"""
primary_hostname = mail.example.org
spool_directory = FOLDER/spool
log_file_path = FOLDER/log/%s
pid_file_path = FOLDER/spool/pid
local_interfaces = <; 127.0.0.1 ; ::1
daemon_smtp_ports = STARTTLS_PORT : IMPLICIT_PORT : CLEAR_PORT
tls_on_connect_ports = IMPLICIT_PORT
tls_advertise_hosts = ${if eq{$received_port}{CLEAR_PORT}{}{*}}
tls_certificate = FOLDER/certificate
tls_privatekey = FOLDER/key
message_size_limit = MOST_OCTETS
log_selector = +smtp_no_mail
# There are no names to be looked up here.
host_lookup =
rfc1413_query_timeout = 0s
# It cannot get root's rights back under a configuration that is not the machine's.
deliver_drop_privilege
never_users =
keep_environment =
acl_smtp_mail = sender
acl_smtp_rcpt = recipient
acl_smtp_data = text

begin acl
sender:
  accept condition = ${if eq{$received_port}{CLEAR_PORT}}
  accept authenticated = *
  deny message = 5.7.0 Log in first
recipient:
  deny !domains = OUR_DOMAINS
       message = 5.7.1 Not for us
  deny recipients = UNKNOWN_RECIPIENT
       message = 5.1.1 Nobody here has that name
  defer recipients = GREYLISTED_RECIPIENT
       message = 4.7.1 Greylisted, come again
  accept
text:
  deny condition = ${if match{$message_body}{REFUSED_LINE}}
       message = 5.7.1 We do not take this text
  accept

begin routers
everybody:
  driver = accept
  transport = box

begin transports
box:
  driver = appendfile
  directory = FOLDER/mail/box
  maildir_format
  envelope_to_add
  return_path_add

begin retry

begin authenticators
plain:
  driver = plaintext
  public_name = PLAIN
  server_prompts = :
  server_condition = ${if eq{$auth2:$auth3}{${readfile{FOLDER/user}}}}
  server_advertise_condition = ${if or{{def:tls_in_cipher}{eq{$received_port}{CLEAR_PORT}}}}
login:
  driver = plaintext
  public_name = LOGIN
  server_prompts = <| Username: | Password:
  server_condition = ${if eq{$auth1:$auth2}{${readfile{FOLDER/user}}}}
  server_advertise_condition = ${if or{{def:tls_in_cipher}{eq{$received_port}{CLEAR_PORT}}}}
"""


class Exim(MailServer):
    """Debian's exim4-daemon-light."""

    QUEUED = r"250 OK id=\S+"
    ENVELOPE = "Envelope-To"

    def __init__(self, network, authority):
        super().__init__(network, authority, "exim4-daemon-light", "Debian-exim")
        (self.folder / "spool").mkdir()
        self.own("spool")
        self.write("user", f"{USER}:{PASSWORD}", own=True)
        self.write("key", authority.key.read_text(), own=True)
        self.write("certificate", authority.certificate.read_text())
        configuration = self.write("configuration", self.macros() + CONFIGURATION)
        self.start(self.installed / "usr/sbin/exim4", "-C", configuration, "-bdf")

    def macros(self):
        values = {"FOLDER": self.folder, "STARTTLS_PORT": STARTTLS, "IMPLICIT_PORT": IMPLICIT,
                  "CLEAR_PORT": CLEAR, "OUR_DOMAINS": f"{DOMAIN} : {INTERNATIONAL_DOMAIN}",
                  "UNKNOWN_RECIPIENT": NOBODY, "GREYLISTED_RECIPIENT": GREYLISTED,
                  "MOST_OCTETS": MOST_OCTETS, "REFUSED_LINE": re.escape(REFUSED)}
        return "".join(f"{name} = {value}\n" for name, value in values.items())

    def sessions(self):
        """The commands of each session so far in which no mail was begun, with their numbers."""
        return [Counter(commands.split(",")) for commands
                in re.findall(r" no MAIL in .* C=(\S+)", self.log_text())]
