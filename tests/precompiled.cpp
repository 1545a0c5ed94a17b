// SPDX-License-Identifier: GPL-3.0-or-later
//
// A library must have a source; this one is there for its precompiled headers.
