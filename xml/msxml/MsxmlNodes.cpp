#include "xml/msxml/MsxmlNodes.h"

#include <string_view>

#include "platform/windows/Variant.h"

namespace tlk {
namespace {

// Ids that not every SDK's libraries hold.
constexpr CLSID kDomDocument30 = {
    0xf5078f32, 0xc551, 0x11d3, {0x89, 0xb9, 0x00, 0x00, 0xf8, 0x1f, 0xe2, 0x21}};
constexpr IID kDomDocument2 = {
    0x2933bf95, 0x7b36, 0x11d2, {0xb2, 0x0e, 0x00, 0xc0, 0x4f, 0x98, 0x3e, 0x60}};

}  // namespace

ComPtr<IXMLDOMElement> AsElement(IXMLDOMNode* node) {
  ComPtr<IXMLDOMElement> element;
  if (node != nullptr) node->QueryInterface(IID_IXMLDOMElement, element.PutVoid());
  return element;
}

DOMNodeType TypeOf(IXMLDOMNode* node) {
  DOMNodeType type = NODE_INVALID;
  return node->get_nodeType(&type) == S_OK ? type : NODE_INVALID;
}

bool IsBlankText(IXMLDOMNode* node) {
  Variant value;
  return TypeOf(node) == NODE_TEXT && node->get_nodeValue(value.Put()) == S_OK &&
         value.Text().find_first_not_of(u" \t\r\n") == std::u16string_view::npos;
}

ComPtr<IXMLDOMNode> ParentOf(IXMLDOMNode* node) {
  ComPtr<IXMLDOMNode> parent;
  if (!IsAttribute(node)) node->get_parentNode(parent.Put());
  return parent;
}

DomResult MakeDocument(ComPtr<IXMLDOMDocument2>& document) {
  return ResultOf(CoCreateInstance(kDomDocument30, nullptr, CLSCTX_INPROC_SERVER, kDomDocument2,
                                   document.PutVoid()));
}

}  // namespace tlk
