#include "optimizer/XmlEdits.h"

#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include "text/CodePage.h"

namespace optera::optimizer {

namespace {

// Everything of the file is kept as nodes, whitespace between tags too, so that the save writes
// back what it read. Line ends stay as they are (no EOL conversion), and text before and after
// the root element is kept as a fragment would keep it; IsWholeDocument then rejects what a
// document may not hold there.
constexpr unsigned kParseFlags =
    (pugi::parse_full | pugi::parse_ws_pcdata | pugi::parse_fragment) & ~pugi::parse_eol;

const platform::PromptMessage kLoadError{"", "Error loading XML", platform::MessageButtons::Ok,
                                         platform::MessageIcon::None};

// Recipe text is in the 8-bit code page; the parser holds documents as UTF-8 and converts them
// back to the file's own encoding when saving. The text ends at a NUL, as the parser's strings do.
std::string Utf8FromRecipeText(std::string_view text) {
    return text::Utf8FromCodePage(text.substr(0, text.find('\0')));
}

bool IsBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

bool IsBlankText(const pugi::xml_node& node) {
    return node.type() == pugi::node_pcdata && IsBlank(node.value());
}

// The parser accepts loose text and several elements at the top level; a document holds one root
// element, with only blanks, comments and processing instructions around it, a declaration only
// at its very start and a document type only before the root. Without this check a text file
// that happens to hold a tag would be taken for XML and rewritten.
bool IsWholeDocument(const pugi::xml_document& doc) {
    int elements = 0;
    bool first = true;
    for (pugi::xml_node node : doc.children()) {
        switch (node.type()) {
            case pugi::node_element:
                ++elements;
                break;
            case pugi::node_pcdata:
                if (!IsBlank(node.value())) return false;
                break;
            case pugi::node_declaration:
                if (!first) return false;
                break;
            case pugi::node_doctype:
                if (elements > 0) return false;
                break;
            case pugi::node_comment:
            case pugi::node_pi:
                break;
            default:
                return false;
        }
        first = false;
    }
    return elements == 1;
}

bool StartsWithByteOrderMark(std::string_view bytes) {
    using namespace std::string_view_literals;
    return bytes.starts_with("\xEF\xBB\xBF"sv) || bytes.starts_with("\xFF\xFE"sv) ||
           bytes.starts_with("\xFE\xFF"sv) || bytes.starts_with("\0\0\xFE\xFF"sv);
}

struct Layout {
    pugi::xml_encoding encoding = pugi::encoding_utf8;
    bool byteOrderMark = false;
};

// A file parsed twice. `full` keeps every byte's node and is what gets edited and saved. `view`
// lacks the blank text between tags, as a parser that drops it sees the file: node selection
// and positions in XPath expressions go by it ("//a/node()[1]" is not the indentation).
struct LoadedFile {
    pugi::xml_document full;
    pugi::xml_document view;
    Layout layout;
};

// False when the file is missing or isn't an XML document.
bool Load(const platform::FileSystem& files, std::string_view path, LoadedFile& file) {
    std::optional<std::string> bytes = files.ReadAll(path);
    if (!bytes) return false;
    pugi::xml_parse_result result =
        file.full.load_buffer(bytes->data(), bytes->size(), kParseFlags);
    if (!result || !IsWholeDocument(file.full)) return false;
    if (!file.view.load_buffer(bytes->data(), bytes->size(), kParseFlags & ~pugi::parse_ws_pcdata))
        return false;
    file.layout = {result.encoding, StartsWithByteOrderMark(*bytes)};
    return true;
}

// The node of `full` that stands where `node` stands in the view: the same path of child
// positions, with blank text skipped when counting. Empty if the two trees disagree.
pugi::xml_node Counterpart(pugi::xml_node node, const pugi::xml_document& full) {
    std::vector<std::size_t> positions;  // from `node` up
    for (pugi::xml_node at = node; at.parent(); at = at.parent()) {
        std::size_t position = 0;
        for (pugi::xml_node before = at.previous_sibling(); before;
             before = before.previous_sibling())
            ++position;
        positions.push_back(position);
    }
    pugi::xml_node at = full;
    for (auto position = positions.rbegin(); position != positions.rend() && at; ++position) {
        pugi::xml_node child = at.first_child();
        for (std::size_t left = *position; child; child = child.next_sibling()) {
            if (IsBlankText(child)) continue;
            if (left-- == 0) break;
        }
        at = child;
    }
    if (at.type() != node.type() || std::strcmp(at.name(), node.name()) != 0) return {};
    return at;
}

pugi::xpath_node Counterpart(const pugi::xpath_node& selected, const pugi::xml_document& full) {
    if (!selected.attribute()) return pugi::xpath_node(Counterpart(selected.node(), full));
    pugi::xml_node owner = Counterpart(selected.parent(), full);
    std::size_t position = 0;
    for (pugi::xml_attribute before = selected.attribute().previous_attribute(); before;
         before = before.previous_attribute())
        ++position;
    pugi::xml_attribute attribute = owner.first_attribute();
    for (; attribute && position > 0; --position) attribute = attribute.next_attribute();
    return pugi::xpath_node(attribute, owner);
}

// The first node the expression selects, in document order; an empty node when nothing matches
// or the expression is not a valid one that yields nodes.
pugi::xpath_node SelectFirst(const pugi::xml_document& doc, const std::string& xpath) {
    try {
        return doc.select_node(xpath.c_str());
    } catch (const pugi::xpath_exception&) {
        return {};
    }
}

// For "//video[@width]": the name behind the first "[@", less one closing bracket at its end.
std::string AttributeName(std::string_view xpath) {
    std::string_view name = xpath.substr(xpath.find("[@") + 2);
    if (name.ends_with(']')) name.remove_suffix(1);
    return std::string(name);
}

// Sets the text of an attribute, element or character data. An element's children all give way
// to one text node. Values that would end a comment or processing instruction early are refused,
// so that the saved file is still XML; so is the document node, which has no text of its own.
void SetText(const pugi::xpath_node& target, const std::string& value) {
    if (pugi::xml_attribute attribute = target.attribute()) {
        attribute.set_value(value.c_str());
        return;
    }
    pugi::xml_node node = target.node();
    switch (node.type()) {
        case pugi::node_element:
            node.remove_children();
            node.append_child(pugi::node_pcdata).set_value(value.c_str());
            break;
        case pugi::node_pcdata:
        case pugi::node_cdata:
            node.set_value(value.c_str());
            break;
        case pugi::node_comment:
            if (value.find("--") == std::string::npos && !value.ends_with('-'))
                node.set_value(value.c_str());
            break;
        case pugi::node_pi:
            if (value.find("?>") == std::string::npos) node.set_value(value.c_str());
            break;
        default:
            break;
    }
}

class StringWriter : public pugi::xml_writer {
  public:
    void write(const void* data, std::size_t size) override {
        bytes.append(static_cast<const char*>(data), size);
    }
    std::string bytes;
};

// Writes the document back in the file's encoding, node for node, with no declaration or
// indentation of the writer's own. A read-only file is left as it is; a failed write is dropped.
void Save(platform::FileSystem& files, std::string_view path, const pugi::xml_document& doc,
          const Layout& layout) {
    std::optional<std::uint32_t> attributes = files.Attributes(path);
    if (attributes && (*attributes & platform::attr::ReadOnly)) return;
    unsigned flags = pugi::format_raw | pugi::format_no_declaration;
    if (layout.byteOrderMark) flags |= pugi::format_write_bom;
    StringWriter writer;
    doc.save(writer, "", flags, layout.encoding);
    platform::ReplaceFile(files, path, writer.bytes);
}

}  // namespace

void ApplyXml(platform::FileSystem& files, platform::Prompts& prompts, std::string_view path,
              const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        std::size_t equals = line.rfind('=');
        if (equals == std::string::npos) continue;
        std::string xpath = Utf8FromRecipeText(std::string_view(line).substr(0, equals));
        std::string value = Utf8FromRecipeText(std::string_view(line).substr(equals + 1));
        if (path.empty()) continue;

        // Loaded afresh for each line: a line sees what the lines before it saved.
        LoadedFile file;
        if (!Load(files, path, file)) continue;
        if (!file.view.document_element().first_child()) {
            prompts.ShowMessage(kLoadError);
            continue;
        }

        pugi::xpath_node selected = SelectFirst(file.view, xpath);
        if (!selected) continue;

        // "//video[@width]" selects the element; the edit goes to its attribute. A missing
        // attribute is not created, and the text is then set on nothing. A node that can't have
        // attributes (text, or an attribute itself) fails the lookup and is edited itself.
        bool attributeForm =
            xpath.find("[@") != std::string::npos && xpath.find('=') == std::string::npos;
        if (attributeForm && !selected.attribute() &&
            selected.node().type() == pugi::node_element) {
            pugi::xml_attribute attribute = selected.node().attribute(AttributeName(xpath).c_str());
            selected = pugi::xpath_node(attribute, selected.node());
        }
        if (selected) {
            if (pugi::xpath_node target = Counterpart(selected, file.full)) SetText(target, value);
        }

        Save(files, path, file.full, file.layout);
    }
}

}  // namespace optera::optimizer
