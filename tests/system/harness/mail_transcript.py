# SPDX-License-Identifier: GPL-3.0-or-later
"""The lines of the activity log that tell of a mail."""

LOCAL_CHANGE = ("Quillfen has refreshed. The IP address of machine \"{machine}\" has changed "
                "from: {before} to {after}")
EXTERNAL_CHANGE = ("Quillfen has refreshed. The External IP address of machine \"{machine}\" has "
                   "changed from: {before} to {after}")
FIRST_ADDRESS = "Quillfen has refreshed. Machine \"{machine}\" has IP address: {after}"

# The stages that a session can have, in the order in which they come.
CONNECTED = "Connected."
TLS_FROM_THE_START = "Starting SSL."
UPGRADING = "SSL handshaking..."
SECURE = "SSL handshaking completed."
LOGGED_IN = "Authentication completed. Sending the message..."
LOGIN_REFUSED = "Authentication failed. Closing the connection..."
SENT = "Message sent. Closing the connection."
LOST = "Connection lost."
ENDED = "Connection terminated."

USUAL_STAGES = [CONNECTED, UPGRADING, SECURE, LOGGED_IN, SENT, ENDED]


def orders(recipients, body, server, said=True):
    """What is logged before the change's refresh is over; said: whether the body is."""
    lines = ["Sending email alerts"]
    for recipient in recipients:
        lines += [f"Composing message to {recipient}.", *([body] if said else []),
                  f"Connecting to the {server} server..."]
    return lines
