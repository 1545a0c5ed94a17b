# SPDX-License-Identifier: GPL-3.0-or-later
"""Postfix, with Cyrus SASL for its logins."""

import re
import shutil
import subprocess
from collections import Counter

from .mail_server import (ACCOUNTS, CLEAR, DOMAIN, GREYLISTED, IMPLICIT, INTERNATIONAL_DOMAIN,
                          MOST_OCTETS, NOBODY, PASSWORD, REFUSED, STARTTLS, USER, MailServer,
                          unpacked)

MAIN = r"""
compatibility_level = 3.6
queue_directory = {folder}/queue
data_directory = {folder}/data
daemon_directory = {programs}
command_directory = {commands}
shlib_directory = {libraries}
meta_directory = {folder}/configuration
import_environment = LD_LIBRARY_PATH={libraries} MAIL_CONFIG={folder}/configuration
maillog_file = {folder}/log/main
maillog_file_prefixes = {folder}

myhostname = mail.{domain}
inet_interfaces = loopback-only
disable_dns_lookups = yes
mydestination =
mynetworks = 127.0.0.0/8 [::1]
message_size_limit = {most}
alias_maps =
alias_database =

virtual_mailbox_domains = {domain} {international}
virtual_mailbox_base = {folder}/mail
virtual_mailbox_maps = regexp:{folder}/configuration/boxes
virtual_uid_maps = static:{account}
virtual_gid_maps = static:{account}
virtual_mailbox_limit = 0

smtpd_tls_cert_file = {certificate}
smtpd_tls_key_file = {key}
smtpd_tls_security_level = may
smtpd_tls_auth_only = yes
smtpd_sasl_auth_enable = yes
smtpd_sasl_local_domain = {domain}
smtpd_helo_required = yes
smtpd_helo_restrictions = reject_invalid_helo_hostname reject_non_fqdn_helo_hostname
smtpd_relay_restrictions = permit_mynetworks reject_unauth_destination
smtpd_recipient_restrictions =
    reject_unlisted_recipient
    check_recipient_access inline:{{ {{ {greylisted} = 450 4.7.1 Greylisted, come again }} }}
body_checks = regexp:{folder}/configuration/texts
"""

MASTER = """
{ports}
postlog unix-dgram n - n - 1 postlogd
cleanup unix n - n - 0 cleanup
qmgr unix n - n 300 1 qmgr
rewrite unix - - n - - trivial-rewrite
bounce unix - - n - 0 bounce
defer unix - - n - 0 bounce
trace unix - - n - 0 bounce
verify unix - - n - 1 verify
flush unix n - n 1000? 0 flush
proxymap unix - - n - - proxymap
anvil unix - - n - 1 anvil
tlsmgr unix - - n 1000? 1 tlsmgr
virtual unix - n n - - virtual
error unix - - n - - error
retry unix - - n - - error
"""

LOGIN_FIRST = "-o smtpd_client_restrictions=permit_sasl_authenticated,reject"
PORTS = {STARTTLS: LOGIN_FIRST,
         IMPLICIT: f"-o smtpd_tls_wrappermode=yes {LOGIN_FIRST}",
         CLEAR: "-o smtpd_tls_security_level=none -o smtpd_tls_auth_only=no"}

LOGINS = """
pwcheck_method: auxprop
auxprop_plugin: sasldb
sasldb_path: {passwords}
mech_list: PLAIN LOGIN
"""

# The parts of the queue and who owns them; postfix' own tool makes them on an installed system.
QUEUE = ("active", "bounce", "corrupt", "defer", "deferred", "flush", "hold", "incoming",
         "private", "saved", "trace")
DROPS = {"maildrop": 0o730, "public": 0o710}


class Postfix(MailServer):
    """Debian's postfix."""

    QUEUED = r"250 2\.0\.0 Ok: queued as \w+"
    ENVELOPE = "X-Original-To"

    def __init__(self, network, authority):
        super().__init__(network, authority, "postfix", "postfix")
        libraries = self.installed / "usr/lib/postfix"
        key = self.write("key", authority.key.read_text())
        key.chmod(0o600)
        self._make_queue()
        self.write("configuration/main.cf", MAIN.format(
            folder=self.folder, libraries=libraries, programs=libraries / "sbin",
            commands=self.installed / "usr/sbin", key=key, account=ACCOUNTS["postfix"],
            certificate=self.write("certificate", authority.certificate.read_text()),
            domain=DOMAIN, international=INTERNATIONAL_DOMAIN, greylisted=GREYLISTED,
            most=MOST_OCTETS))
        self.write("configuration/master.cf", MASTER.format(ports="\n".join(
            f"{host}:{port} inet n - n - - smtpd {options}"
            for port, options in PORTS.items() for host in ("127.0.0.1", "[::1]"))))
        self.write("configuration/boxes", f"!/^{re.escape(NOBODY)}$/ box/\n")
        self.write("configuration/texts",
                   f"/^{re.escape(REFUSED)}$/ REJECT We do not take this text\n")
        # Debian's Postfix looks for it here only.
        self.write("configuration/sasl/smtpd.conf", LOGINS.format(passwords=self._know_user()))
        self.start(libraries / "sbin" / "master", "-d", "-c", self.folder / "configuration",
                   LD_LIBRARY_PATH=str(libraries))

    def _make_queue(self):
        for name in ("data", *(f"queue/{part}" for part in (*QUEUE, *DROPS, "pid"))):
            (self.folder / name).mkdir(parents=True)
        for name in ("data", *(f"queue/{part}" for part in (*QUEUE, *DROPS))):
            self.own(name)
        for name, mode in DROPS.items():
            shutil.chown(self.folder / "queue" / name, group=ACCOUNTS["postdrop"])
            (self.folder / "queue" / name).chmod(mode)

    def _know_user(self):
        """Makes the file of the users and their passwords."""
        passwords = self.folder / "passwords"
        subprocess.run([unpacked("sasl2-bin") / "usr/sbin/saslpasswd2", "-p", "-c", "-f", passwords,
                        "-u", DOMAIN, USER], input=PASSWORD.encode(), check=True)
        self.own("passwords")
        return passwords

    def sessions(self):
        """The commands of each session so far, with their numbers."""
        found = re.findall(r"disconnect from \S+\[\S+\] (.*) commands=", self.log_text())
        return [Counter({name.upper(): int(number.split("/")[-1])
                         for name, number in (word.split("=") for word in line.split())})
                for line in found]
