// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/plaindocument.h"

#include "rest/reply/replydocument.h"

#include <QVarLengthArray>

#include <array>

namespace KelRestHandler {

namespace {

enum Kind : unsigned char {
    Space = 1,
    NameStart = 2,
    NamePart = 4,
    Text = 8,
    Quoted = 16, ///< between double quotes
};

constexpr std::array<unsigned char, 128> makeKinds()
{
    std::array<unsigned char, 128> kinds{};
    for (int c = 0; c < 128; ++c) {
        const bool isLetter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        const bool isSpace = c == ' ' || c == '\t' || c == '\n';
        const bool isPrintable = c >= ' ' && c < 127;
        const bool isMarkup = c == '<' || c == '>' || c == '&';
        int kind = isSpace ? Space : 0;
        if (isLetter || c == '_')
            kind |= NameStart;
        if (isLetter || c == '_' || c == '-' || c == '.' || (c >= '0' && c <= '9'))
            kind |= NamePart;
        // A bracket may end a section that was never begun.
        if ((isPrintable || isSpace) && !isMarkup && c != ']')
            kind |= Text;
        // Other white space than a blank becomes one in the value.
        if (isPrintable && !isMarkup && c != '"')
            kind |= Quoted;
        kinds[static_cast<size_t>(c)] = static_cast<unsigned char>(kind);
    }
    return kinds;
}

constexpr auto kinds = makeKinds();

// What means nothing to an XML reader and is allowed. What is a space elsewhere is none in XML, but
// QDomDocument drops a text that has nothing else.
bool isOtherLetter(QChar character)
{
    return character.unicode() >= 0xA0 && character.unicode() < 0xD800 && !character.isSpace();
}

bool is(int kind, QChar character)
{
    return character.unicode() < kinds.size() && (kinds[character.unicode()] & kind) != 0;
}

class PlainReader
{
public:
    explicit PlainReader(QStringView xml) : mPosition(xml.begin()), mEnd(xml.end()) {}

    QDomDocument read() { return readDeclaration() && readRoot() ? mDocument : QDomDocument(); }

private:
    bool isNext(char character) const
    {
        return mPosition != mEnd && mPosition->unicode() == static_cast<ushort>(character);
    }
    bool skip(char character)
    {
        const bool isThere = isNext(character);
        mPosition += isThere ? 1 : 0;
        return isThere;
    }
    bool skip(QStringView text)
    {
        const bool isThere = QStringView(mPosition, mEnd).startsWith(text);
        mPosition += isThere ? text.size() : 0;
        return isThere;
    }
    bool skipSpace()
    {
        const QChar* const start = mPosition;
        while (mPosition != mEnd && is(Space, *mPosition))
            ++mPosition;
        return mPosition != start;
    }
    QStringView name()
    {
        const QChar* const start = mPosition;
        if (mPosition == mEnd || !is(NameStart, *mPosition))
            return {};
        while (mPosition != mEnd && is(NamePart, *mPosition))
            ++mPosition;
        return {start, mPosition};
    }
    // Up to what cannot stand in it.
    QStringView textOf(Kind kind)
    {
        const QChar* const start = mPosition;
        while (mPosition != mEnd && (is(kind, *mPosition) || isOtherLetter(*mPosition)))
            ++mPosition;
        return {start, mPosition};
    }

    bool readDeclaration()
    {
        if (!skip(u"<?xml version=\"1.0\""))
            return false;
        QString instruction = QStringLiteral("version='1.0'");
        if (skip(u" encoding=\"")) {
            const QStringView encoding = name();
            if (encoding.isEmpty() || !skip('"'))
                return false;
            instruction += QLatin1String(" encoding='") + encoding.toString() + QLatin1Char('\'');
        }
        if (!skip(u"?>"))
            return false;
        mDocument.appendChild(
            mDocument.createProcessingInstruction(QStringLiteral("xml"), instruction));
        mParent = mDocument;
        skipSpace();
        return true;
    }

    bool readRoot()
    {
        if (!skip('<') || !readStartTag())
            return false;
        while (!mOpen.isEmpty()) {
            if (!readText() || !skip('<') || !(isNext('/') ? readEndTag() : readStartTag()))
                return false;
        }
        skipSpace();
        return mPosition == mEnd;
    }

    bool readStartTag()
    {
        const QStringView tag = name();
        if (tag.isEmpty() || ++mMarkups > ReplyBounds::markups ||
            mOpen.size() >= ReplyBounds::depth)
            return false;
        QDomElement element = mDocument.createElement(tag.toString());
        int attributes = 0;
        while (skipSpace() && !isNext('/') && !isNext('>')) {
            if (++attributes > ReplyBounds::attributesOfOneTag || !readAttribute(element))
                return false;
        }
        mParent.appendChild(element);
        if (skip(u"/>"))
            return true;
        mOpen.append(tag);
        mParent = element;
        return skip('>');
    }

    bool readAttribute(QDomElement& element)
    {
        const QString attribute = name().toString();
        if (attribute.isEmpty() || element.hasAttribute(attribute) ||
            ++mMarkups > ReplyBounds::markups || !skip(u"=\""))
            return false;
        element.setAttribute(attribute, textOf(Quoted).toString());
        return skip('"');
    }

    bool readEndTag()
    {
        if (++mMarkups > ReplyBounds::markups || !skip('/') || !skip(mOpen.last()) || !skip('>'))
            return false;
        mOpen.removeLast();
        mParent = mParent.parentNode();
        return true;
    }

    // White space alone is no text.
    bool readText()
    {
        const QChar* const start = mPosition;
        skipSpace();
        if (isNext('<'))
            return true;
        textOf(Text);
        mParent.appendChild(mDocument.createTextNode(QStringView(start, mPosition).toString()));
        return true;
    }

    const QChar* mPosition;
    const QChar* mEnd;
    QDomDocument mDocument;
    QDomNode mParent;
    QVarLengthArray<QStringView, 16> mOpen;
    int mMarkups = 1; // the declaration
};

} // namespace

QDomDocument plainDocument(QStringView xml)
{
    return xml.size() <= ReplyBounds::characters ? PlainReader(xml).read() : QDomDocument();
}

} // namespace KelRestHandler
