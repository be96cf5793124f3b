// Which files videos can be written to.
#pragma once

#include <QString>

namespace nubo::commands::grab {

/// Empty where a video can be written to that file; else what the run would say, and what helps.
QString whyNoEncoder(const QString& fileName);

/// Of the format that dialogs suggest, with its dot; empty where none is suggested.
QString suggestedSuffix();

}  // namespace nubo::commands::grab
