// The tree of assemblies and parts.
#pragma once

#include <TDF_Label.hxx>
#include <TDocStd_Document.hxx>
#include <TopLoc_Location.hxx>
#include <XCAFDoc_ColorTool.hxx>

#include "plugins/readers/cad/part.h"

namespace nubo::reader {

/// Makes nodes of a document's labels. A part that occurs often has its meshes once.
class ProductConverter {
 public:
  ProductConverter(const Handle(TDocStd_Document) & document, double fineness, Output& output);

  void convert();

 private:
  /// `color` is what the assemblies above have given it.
  void add(const TDF_Label& label, std::int32_t parent, const std::optional<Color>& color);
  const std::vector<std::int32_t>& meshesOf(const TDF_Label& label, const std::optional<Color>& color);
  std::optional<Color> colorOf(const TDF_Label& label) const;
  Colors colorsWithin(const TDF_Label& part) const;

  const Handle(XCAFDoc_ShapeTool) m_Shapes;
  const Handle(XCAFDoc_ColorTool) m_Colors;
  Output& m_Output;
  PartConverter m_Parts;
  double m_Count = 0;  ///< parts, for the progress
  std::map<std::pair<std::string, std::optional<Color>>, std::vector<std::int32_t>> m_Meshes;  ///< by label and colour
};

}  // namespace nubo::reader
