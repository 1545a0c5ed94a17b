# SPDX-License-Identifier: GPL-3.0-or-later
"""Small worlds around the real program: a network, a session bus, a desktop, a home folder."""
