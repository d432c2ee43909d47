// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace KelEmulator {

/// An element of a request's document.
struct XmlElement
{
    std::string name;
    std::string text; ///< between its tags, that of children apart
    std::vector<XmlElement> children;

    /// The first child of that name, null when there is none.
    const XmlElement* child(std::string_view childName) const;
    /// The child's text, empty without such a child.
    const std::string& textOf(std::string_view childName) const;
    bool isTrue(std::string_view childName) const { return textOf(childName) == "true"; }
};

/// Reads a document as clients of this service write it: the declaration, then elements of the
/// service's namespace and text, nothing else. False, and why in `problem`, for anything else;
/// `problem` never holds a value.
bool readXml(std::string_view document, XmlElement& root, std::string& problem);

} // namespace KelEmulator
