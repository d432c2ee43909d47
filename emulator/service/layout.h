// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/xmlelement.h"

#include <cstddef>
#include <string>

namespace KelEmulator {

/// When an element stands in a document. "Before" is the element before it in the layout.
enum class Presence {
    Required,
    Optional,
    Repeated,        ///< none, one or more
    WithBefore,      ///< exactly when the one before is there
    InsteadOptional, ///< may be there when the one before is not
    InsteadRequired, ///< exactly when the one before is not there
    AfterText,       ///< may be there when the one before has text
};

/// What stands between an element's tags.
enum class Form {
    Text, ///< any, also none
    NonEmpty,
    Words,  ///< one of a list
    Date,   ///< yyyy-MM-dd
    Base64, ///< padded; also none
    Integer,
    Nothing,
    Elements,
};

/// An element of a request's document as the service takes it.
struct Layout
{
    const char* name;
    Presence presence;
    Form form;
    const char* words;      ///< with Form::Words, separated by "|"
    const Layout* children; ///< with Form::Elements, in the order in which they stand
    std::size_t childCount;
};

constexpr Layout value(const char* name, Form form = Form::Text,
                       Presence presence = Presence::Required)
{
    return {name, presence, form, nullptr, nullptr, 0};
}

constexpr Layout optional(const char* name, Form form = Form::NonEmpty)
{
    return value(name, form, Presence::Optional);
}

constexpr Layout words(const char* name, const char* list, Presence presence = Presence::Required)
{
    return {name, presence, Form::Words, list, nullptr, 0};
}

constexpr Layout boolean(const char* name)
{
    return words(name, "true|false");
}

template <std::size_t count>
constexpr Layout elements(const char* name, const Layout (&children)[count],
                          Presence presence = Presence::Required)
{
    return {name, presence, Form::Elements, nullptr, children, count};
}

/// Whether a document follows its layout. False, and the first deviation in `problem`, which names
/// elements and never holds a value.
bool follows(const XmlElement& root, const Layout& layout, std::string& problem);

} // namespace KelEmulator
