// XmlDocument, XmlElement: the XML of machine files. What parses it is known to xml_document.cpp
// alone.
#pragma once

#include <kandrel/misc/export.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace tinyxml2 {
class XMLDocument;
class XMLElement;
}  // namespace tinyxml2

namespace kintree::detail {

/// Elements at greater depth are neither read nor made; the root's depth is 1.
inline constexpr int kDeepestElement = 98;

/// One element of a document, or none. Belongs to the document and is valid as long as that lives.
class KANDREL_API XmlElement {
 public:
  XmlElement() = default;

  explicit operator bool() const noexcept { return m_element != nullptr; }

  /// Nothing below is asked of no element.
  std::string_view GetTag() const noexcept;

  /// The next element among the children or siblings, none at the end. Whatever else stands there
  /// is passed over.
  XmlElement FirstChild() const noexcept;
  XmlElement Next() const noexcept;

  /// The value of an attribute in UTF-8; empty when it is absent. Linear in the number of the
  /// element's attributes.
  std::string_view Get(const char* attribute) const noexcept;

  /// The values of all these attributes, likewise. Fastest where the element has them in the order
  /// of `names`.
  void Get(std::span<const char* const> names, std::span<std::string_view> values) const noexcept;

  /// Adds an element behind the children that are there. Throws zvException, id 0, "A machine file
  /// can't hold objects so deep below each other" below the depth that is read.
  XmlElement Add(const char* tag) const;

  /// Sets an attribute, a new one behind those that are there. What stands behind a NUL is cut off.
  void Set(const char* attribute, const char* value) const;
  void Set(const char* attribute, const std::string& value) const;
  void Set(const char* attribute, const std::wstring& value) const;

 private:
  friend class XmlDocument;
  explicit XmlElement(tinyxml2::XMLElement* element) : m_element(element) {}

  tinyxml2::XMLElement* m_element = nullptr;
};

class KANDREL_API XmlDocument {
 public:
  /// Without elements.
  XmlDocument();
  /// What was moved from is only destroyed.
  XmlDocument(XmlDocument&&) noexcept;
  ~XmlDocument();

  /// Reads a file: a regular one of at most 256 MiB. Throws zvException, id 0, "Xml file not
  /// found." for any other, with the reason as its cause, and as Parse.
  static XmlDocument Load(const std::wstring& path);

  /// Reads a document. Its characters are those of its byte order mark, else those that its
  /// declaration names: UTF-8, which no name means too, where the bytes are that, and else a byte
  /// for each of the first 256 characters. Throws zvException, id 0, "Xml file not found." with
  /// the reason as its cause, for what is no XML, for a NUL and other numbers of no character, for
  /// elements deeper than kDeepestElement, for more than 256 attributes of one element and for more
  /// than 2^22 tags and comments. Instructions, `<?...?>`, are skipped.
  static XmlDocument Parse(std::string bytes);

  /// The first element that stands in nothing else; its siblings follow it.
  XmlElement First() const noexcept;

  /// Adds such an element.
  XmlElement Add(const char* tag);

  /// The document as a file: the declaration, version 1.0 and iso-8859-1, then an element a line.
  /// Characters above U+00FF are written as their numbers.
  std::string GetBytes() const;

 private:
  std::unique_ptr<tinyxml2::XMLDocument> m_document;
};

}  // namespace kintree::detail
