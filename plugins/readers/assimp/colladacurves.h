// Curves of COLLADA documents that are not straight between their keys.
#pragma once

#include <pugixml.hpp>

namespace nubo::reader {

/// Assimp goes straight from key to key, whatever the document says. So each curve of Bézier, Hermite or stepped pieces
/// gets keys between its own, by which it is the same to within a thousandth of a piece when it is played straight.
/// Curves without their tangents, or with more keys than are worth it, stay. Samplers that share a source keep theirs.
void straightenCurves(pugi::xml_document& document);

}  // namespace nubo::reader
