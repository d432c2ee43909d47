// SPDX-License-Identifier: LGPL-2.1-or-later
// What the quick reader of documents makes of one is what QDomDocument makes of it.
#include "fuzztarget.h"

#include "rest/reply/plaindocument.h"
#include "rest/reply/replydocument.h"

#include <QDomDocument>
#include <QList>
#include <QPair>

namespace KelFuzz::PlainDocument {

namespace {

using namespace KelRestHandler;

bool areSame(const QDomNode& one, const QDomNode& other)
{
    if (one.nodeType() != other.nodeType() || one.nodeName() != other.nodeName() ||
        one.nodeValue() != other.nodeValue())
        return false;
    const QDomNamedNodeMap attributes = one.attributes();
    if (attributes.count() != other.attributes().count())
        return false;
    for (int i = 0; i < attributes.count(); ++i) {
        const QDomAttr attribute = attributes.item(i).toAttr();
        const QDomNode same = other.attributes().namedItem(attribute.name());
        if (same.isNull() || same.nodeValue() != attribute.value())
            return false;
    }
    return true;
}

// Not recursive, since a wrong one may be of any depth.
bool areSameTrees(const QDomNode& oneRoot, const QDomNode& otherRoot)
{
    QList<QPair<QDomNode, QDomNode>> left{{oneRoot, otherRoot}};
    while (!left.isEmpty()) {
        const auto pair = left.takeLast();
        if (!areSame(pair.first, pair.second))
            return false;
        QDomNode one = pair.first.firstChild();
        QDomNode other = pair.second.firstChild();
        for (; !one.isNull() && !other.isNull();
             one = one.nextSibling(), other = other.nextSibling())
            left.append({one, other});
        if (one.isNull() != other.isNull())
            return false;
    }
    return true;
}

void run(const uint8_t* data, size_t size)
{
    const QString xml = QString::fromUtf8(bytesOf(data, size));
    const QDomDocument plain = plainDocument(xml);
    if (plain.isNull())
        return;
    require(isWithinReplyBounds(xml));
    QDomDocument usual;
    require(usual.setContent(xml));
    require(areSameTrees(plain, usual));
}

} // namespace

} // namespace KelFuzz::PlainDocument

KEL_FUZZ_TARGET(plaindocument, KelFuzz::PlainDocument::run)
