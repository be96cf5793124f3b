#include "plugins/readers/assimp/colladadocument.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <pugixml.hpp>
#include <sstream>
#include <utility>

#include "plugins/readers/assimp/colladaarchive.h"
#include "plugins/readers/assimp/colladacurves.h"

namespace nubo::reader {
namespace {

using pugi::xml_node;

/// What an attribute such as url="#name" names.
std::string named(const xml_node& node, const char* attribute) {
  const char* value = node.attribute(attribute).value();
  return *value == '#' ? value + 1 : value;
}

xml_node inputOf(const xml_node& node, const char* semantic) {
  return node.find_child_by_attribute("input", "semantic", semantic);
}

template <class Value>
std::vector<Value> valuesOf(const xml_node& array) {
  std::istringstream text(array.text().get());
  return {std::istream_iterator<Value>(text), std::istream_iterator<Value>()};
}

xml_node namesOf(const xml_node& source) {
  const xml_node references = source.child("IDREF_array");
  return references ? references : source.child("Name_array");
}

/// Finds morphs, and takes them out of a document.
class Mender {
 public:
  Mender(pugi::xml_document& document, std::vector<ColladaMorph>& morphs) : m_Morphs(morphs) { index(document); }

  void mend() {
    for (const auto& [id, node] : std::map<std::string, xml_node>(m_Nodes))
      if (node.child("morph")) addMorph(node);
    for (const xml_node& channel : m_Channels) takeCurve(channel);
    for (const xml_node& use : m_Uses) replace(use);
    for (const auto& [id, use] : m_Controllers) m_Nodes[id].parent().remove_child(m_Nodes[id]);
  }

 private:
  struct Controller {
    std::size_t morph;
    std::string base;                 ///< the mesh at rest
    std::vector<std::string> shapes;  ///< the mesh in each form
    bool isUsed = false;
  };

  void index(const xml_node& node) {
    for (const xml_node& child : node.children()) {
      if (const char* id = child.attribute("id").value(); *id) m_Nodes.emplace(id, child);
      const char* name = child.name();
      if (!std::strcmp(name, "channel")) m_Channels.push_back(child);
      if (!std::strcmp(name, "instance_controller") || !std::strcmp(name, "instance_geometry")) m_Uses.push_back(child);
      index(child);
    }
  }

  xml_node find(const std::string& id) const {
    const auto found = m_Nodes.find(id);
    return found == m_Nodes.end() ? xml_node() : found->second;
  }

  void addMorph(const xml_node& controller) {
    const xml_node morph = controller.child("morph"), targets = morph.child("targets");
    const xml_node base = find(named(morph, "source"));
    Controller made{m_Morphs.size(), base.attribute("id").value(), {}};
    ColladaMorph found;
    const std::string weights = named(inputOf(targets, "MORPH_WEIGHT"), "source");
    const std::vector<float> atRest = valuesOf<float>(find(weights).child("float_array"));
    const bool isRelative = !std::strcmp(morph.attribute("method").value(), "RELATIVE");
    const auto names = valuesOf<std::string>(namesOf(find(named(inputOf(targets, "MORPH_TARGET"), "source"))));
    for (const std::string& name : names) {
      const xml_node target = find(name);
      const std::string shape = ShapeNode + std::to_string(made.morph) + ' ' + std::to_string(made.shapes.size());
      if (!addShape(base, target, shape, isRelative)) {
        made.shapes.clear();
        found.shapes.clear();
        break;
      }
      const char* title = target.attribute("name").value();
      const std::size_t number = made.shapes.size();
      found.shapes.push_back({*title ? title : name, number < atRest.size() ? atRest[number] : 0, isRelative});
      made.shapes.push_back(shape);
    }
    const std::string id = controller.attribute("id").value();
    for (const std::string& name :
         {weights, std::string(find(weights).child("float_array").attribute("id").value()), id})
      if (!name.empty()) m_Weights[name] = made.morph;
    for (const auto& [skin, node] : m_Nodes)
      if (named(node.child("skin"), "source") == id) {
        node.child("skin").attribute("source").set_value(('#' + made.base).c_str());
        m_Skins[skin] = id;
      }
    for (const xml_node& use : m_Uses) {
      const std::string url = named(use, "url");
      const auto skin = m_Skins.find(url);
      made.isUsed = made.isUsed || url == id || (skin != m_Skins.end() && skin->second == id);
    }
    m_Morphs.push_back(std::move(found));
    m_Controllers.emplace(id, std::move(made));
  }

  /// A copy of the mesh whose corners lie, and where they can, look, as those of the target.
  bool addShape(const xml_node& base, const xml_node& target, const std::string& id, bool isRelative) const {
    const xml_node mesh = base.child("mesh"), other = target.child("mesh");
    const std::string from = sourceOf(mesh, "POSITION"), to = sourceOf(other, "POSITION");
    if (to.empty() || countOf(from) != countOf(to)) return false;
    std::map<std::string, std::string> instead{{'#' + from, '#' + to}};
    const std::string normals = sourceOf(mesh, "NORMAL"), changed = sourceOf(other, "NORMAL");
    if (!isRelative && !changed.empty() && countOf(normals) == countOf(changed)) instead['#' + normals] = '#' + changed;
    xml_node copy = base.parent().append_copy(base);
    copy.attribute("id").set_value(id.c_str());
    xml_node copied = copy.child("mesh");
    while (copied.remove_child("source")) {
    }
    for (const xml_node& part : copied.children())
      for (const xml_node& input : part.children("input"))
        if (const auto found = instead.find(input.attribute("source").value()); found != instead.end())
          input.attribute("source").set_value(found->second.c_str());
    return true;
  }

  static std::string sourceOf(const xml_node& mesh, const char* semantic) {
    for (const xml_node& part : mesh.children())
      if (const xml_node input = inputOf(part, semantic)) return named(input, "source");
    return {};
  }

  std::string countOf(const std::string& source) const {
    return find(source).child("float_array").attribute("count").value();
  }

  /// Targets are such as "weights(2)", "controller/weights(2)", or "weights" for all of them.
  void takeCurve(const xml_node& channel) {
    const std::string target = channel.attribute("target").value();
    const std::size_t bracket = target.find('('), end = std::min(bracket, target.find('/'));
    const auto morph = m_Weights.find(target.substr(0, end));
    if (morph == m_Weights.end()) return;
    const xml_node sampler = find(named(channel, "source"));
    const auto arrayOf = [&](const char* semantic) { return find(named(inputOf(sampler, semantic), "source")); };
    const auto times = valuesOf<float>(arrayOf("INPUT").child("float_array"));
    const auto all = valuesOf<float>(arrayOf("OUTPUT").child("float_array"));
    ColladaMorph& changed = m_Morphs[morph->second];
    const std::size_t first = bracket == std::string::npos ? 0 : std::strtoul(&target[bracket + 1], nullptr, 10);
    const std::size_t each = bracket == std::string::npos ? changed.shapes.size() : 1;
    const bool isSound =
        !times.empty() && all.size() == times.size() * each && std::is_sorted(times.begin(), times.end());
    for (std::size_t i = 0; isSound && i < each && first + i < changed.shapes.size(); ++i) {
      ColladaCurve curve{first + i, times, {}};
      for (std::size_t key = 0; key < times.size(); ++key) curve.weights.push_back(all[key * each + i]);
      changed.curves.push_back(std::move(curve));
    }
    xml_node(channel).parent().remove_child(channel);
  }

  /// Some write a morph for a mesh, and use the mesh alone.
  void replace(xml_node use) {
    const std::string url = named(use, "url");
    const auto skin = m_Skins.find(url);
    auto found = m_Controllers.find(skin == m_Skins.end() ? url : skin->second);
    for (auto each = m_Controllers.begin(); found == m_Controllers.end() && each != m_Controllers.end(); ++each)
      if (!each->second.isUsed && each->second.base == url) found = each;
    if (found == m_Controllers.end()) return;
    if (skin == m_Skins.end()) {
      use.set_name("instance_geometry");
      use.attribute("url").set_value(('#' + found->second.base).c_str());
    }
    for (const std::string& shape : found->second.shapes) {
      xml_node node = use.parent().append_child("node");
      node.append_attribute("id").set_value((shape + ' ' + std::to_string(m_Copies++)).c_str());
      xml_node instance = node.append_child("instance_geometry");
      instance.append_attribute("url").set_value(('#' + shape).c_str());
      if (const xml_node materials = use.child("bind_material")) instance.append_copy(materials);
    }
  }

  std::vector<ColladaMorph>& m_Morphs;
  std::map<std::string, xml_node> m_Nodes;          ///< by id
  std::map<std::string, Controller> m_Controllers;  ///< with a morph, by id
  std::map<std::string, std::size_t> m_Weights;     ///< morphs by what channels call their weights
  std::map<std::string, std::string> m_Skins;       ///< skins of morphs, with the controllers of these
  std::vector<xml_node> m_Channels, m_Uses;
  int m_Copies = 0;
};

std::size_t countOf(const std::string& text, const char* part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

/// Assimp takes what is missing for zeros, by which a mesh becomes a point.
void bindSkins(const pugi::xml_document& document) {
  for (const pugi::xpath_node& skin : document.select_nodes("//skin[not(bind_shape_matrix)]"))
    skin.node().prepend_child("bind_shape_matrix").text().set("1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1");
}

ColladaDocument mended(std::string text) {
  ColladaDocument result;
  const bool isBound = countOf(text, "<skin ") == countOf(text, "<bind_shape_matrix>");
  const auto has = [&](const char* words) { return text.find(words) != std::string::npos; };
  if (isBound && !has("<morph") && !has("BEZIER") && !has("HERMITE") && !has("STEP")) return result;
  pugi::xml_document document;
  // What makes no sense is left to who reads it next.
  if (!document.load_buffer_inplace(text.data(), text.size())) return result;
  bindSkins(document);
  straightenCurves(document);
  Mender(document, result.morphs).mend();
  std::ostringstream written;
  document.save(written, "", pugi::format_raw);
  result.text = written.str();
  return result;
}

}  // namespace

ColladaDocument readColladaDocument(const std::string& fileName) {
  std::ifstream file(fileName, std::ios::binary);
  std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (content.compare(0, 2, "PK") != 0) return mended(std::move(content));
  ColladaArchive archive(std::move(content));
  ColladaDocument result = mended(archive.document());
  if (!result.text.empty()) result.text = archive.with(result.text);
  return result;
}

}  // namespace nubo::reader
