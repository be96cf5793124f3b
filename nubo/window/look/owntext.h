// Texts that outlive the module they come from.
#pragma once

#include <QString>

namespace nubo::window {

/// A copy whose characters are not in a module's memory, which a literal's are. The style keeps the text of the entry
/// that it drew last in a list, longer than modules stay loaded.
inline QString ownText(const QString& text) { return QString(text.constData(), text.size()); }

}  // namespace nubo::window
