// Animations of what a reader has read, as the scene has them.
#pragma once

#include <QSet>
#include <vector>

#include "module_scene/graph/animation.h"
#include "module_scene/io/reader/record.h"

namespace nubo::io {

/// The name or, where that is taken or empty, one with a number; it is taken then.
QString uniqueName(const QString& name, const QString& unnamed, QSet<QString>& taken);

/// All animations that move something for which `seen`, per node, holds; each has a name of its own. `elements`: per
/// node, where they are at rest. Throws reader::BadRecord for what no reader should have handed over.
std::vector<scene::Animation> buildAnimations(const reader::Model& model,
                                              const std::vector<util::YPointer<scene::SceneElement>>& elements,
                                              const std::vector<bool>& seen);

}  // namespace nubo::io
