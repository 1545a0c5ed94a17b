// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QWidget;

namespace quillfen::prefs {

/// Gives @p window what no interface description can: letters and colours that go by those of the
/// desktop's theme.
void fitToTheme(const QWidget &window);

} // namespace quillfen::prefs
