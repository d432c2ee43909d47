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
    return QVariant(elementText(element)).toBool();
}

/// What to do with a child element of a certain name.
template <class Target>
struct ChildReader
{
    const char* tag;
    void (*read)(Target& target, const QDomNode& child);
};

/// Hands every child element to the reader of its name; the others are skipped.
template <class Target, size_t count>
void readChildren(const QDomNode& node, const ChildReader<Target> (&readers)[count], Target& target)
{
    forEachChild(node, [&](const QDomNode& child, const QString& tag) {
        for (const ChildReader<Target>& reader : readers) {
            if (tag == QLatin1String(reader.tag)) {
                reader.read(target, child);
                return;
            }
        }
    });
}

} // namespace KelRestHandler
