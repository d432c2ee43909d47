// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDomElement>
#include <QString>
#include <QVariant>

namespace KelRestHandler {

/// Calls `read(child, tagName)` for every child element, in document order.
template <class Reader>
void forEachChild(const QDomNode& node, Reader read)
{
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling()) {
        if (child.isElement())
            read(child, child.nodeName());
    }
}

/// QDomElement::text() without its copying, for the usual element that holds one piece of text.
inline QString elementText(const QDomNode& element)
{
    const QDomNode only = element.firstChild();
    if (only.isText() && only.nextSibling().isNull())
        return only.nodeValue();
    return element.toElement().text();
}

/// Empty, "0" and "false" in any letter case are false.
inline bool elementBool(const QDomNode& element)
{
    const QString text = elementText(element);
    // What the service writes; QVariant knows the rest.
    return text == QLatin1String("true") || QVariant(text).toBool();
}

/// What to do with a child element of a certain name.
template <class Target>
struct ChildReader
{
    using Read = void (*)(Target& target, const QDomNode& child);

    template <size_t size>
    constexpr ChildReader(const char (&name)[size], Read readChild)
        : tag(name), tagLength(static_cast<int>(size) - 1), read(readChild)
    {
    }
    constexpr ChildReader(QLatin1String name, Read readChild)
        : tag(name.data()), tagLength(name.size()), read(readChild)
    {
    }

    const char* tag;
    int tagLength;
    Read read;
};

/// Hands every child element to the reader of its name; the others are skipped.
template <class Target, size_t count>
void readChildren(const QDomNode& node, const ChildReader<Target> (&readers)[count], Target& target)
{
    // The service writes its elements in the tables' order, so the search for the next one begins
    // behind the one before.
    size_t likely = 0;
    forEachChild(node, [&](const QDomNode& child, const QString& tag) {
        for (size_t i = 0; i < count; ++i) {
            const size_t index = (likely + i) % count;
            const ChildReader<Target>& reader = readers[index];
            if (tag.size() == reader.tagLength &&
                tag == QLatin1String(reader.tag, reader.tagLength)) {
                likely = index + 1;
                reader.read(target, child);
                return;
            }
        }
    });
}

} // namespace KelRestHandler
