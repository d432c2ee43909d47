// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/replydocument.h"

#include <algorithm>

namespace KelRestHandler {

namespace {

/// Walks over the markup of a text without understanding more of it than the bounds need. What it
/// takes for a start tag is at least what an XML reader takes for one, so the depth it counts is
/// never too small.
class MarkupWalk
{
public:
    explicit MarkupWalk(const QString& xml)
        : mXml(xml), mPosition(xml.constData()), mEnd(mPosition + xml.size())
    {
    }

    bool staysWithinBounds()
    {
        while (toNextMarkup()) {
            if (++mMarkups > ReplyBounds::markups || !skipMarkup())
                return false;
        }
        return true;
    }

private:
    bool toNextMarkup()
    {
        // Between two tags there is little, as a rule; for the rest QString compares many
        // characters at a time.
        constexpr int littleText = 32;
        const QChar* const shortly = mPosition + std::min<qptrdiff>(littleText, mEnd - mPosition);
        mPosition = std::find(mPosition, shortly, QLatin1Char('<'));
        if (mPosition == shortly) {
            const int found = mXml.indexOf(QLatin1Char('<'), position());
            mPosition = found < 0 ? mEnd : mXml.constData() + found;
        }
        if (mPosition == mEnd)
            return false;
        ++mPosition;
        return true;
    }

    bool skipMarkup()
    {
        if (mPosition == mEnd)
            return true;
        switch (mPosition->unicode()) {
        case '/':
            --mDepth;
            return true;
        case '?':
            return skipPast(QLatin1String("?>"));
        case '!':
            if (startsWith(QLatin1String("!--")))
                return skipPast(QLatin1String("-->"));
            if (startsWith(QLatin1String("![CDATA[")))
                return skipPast(QLatin1String("]]>"));
            return false; // a document type declaration, or nothing that belongs in a document
        default:
            return skipStartTag();
        }
    }

    bool skipStartTag()
    {
        int attributes = 0;
        for (; mPosition != mEnd; ++mPosition) {
            // Letters, the most of a tag, all come after ">".
            if (mPosition->unicode() > '>')
                continue;
            switch (mPosition->unicode()) {
            case '"':
            case '\'':
                if (++attributes > ReplyBounds::attributesOfOneTag)
                    return false;
                ++mMarkups;
                if (!skipQuoted(*mPosition))
                    return true; // the text ends within the quotes
                break;
            case '>':
                if (mPosition[-1] != QLatin1Char('/'))
                    ++mDepth;
                return mDepth <= ReplyBounds::depth;
            default:
                break;
            }
        }
        return true;
    }

    // Leaves the position on the closing quote.
    bool skipQuoted(QChar quote)
    {
        const int found = mXml.indexOf(quote, position() + 1);
        mPosition = found < 0 ? mEnd : mXml.constData() + found;
        return found >= 0;
    }

    bool skipPast(QLatin1String terminator)
    {
        const int found = mXml.indexOf(terminator, position());
        mPosition = found < 0 ? mEnd : mXml.constData() + found + terminator.size();
        return true;
    }

    bool startsWith(QLatin1String text) const
    {
        return QStringView(mPosition, mEnd).startsWith(text);
    }

    int position() const { return static_cast<int>(mPosition - mXml.constData()); }

    const QString& mXml;
    const QChar* mPosition;
    const QChar* mEnd;
    int mDepth = 0;
    int mMarkups = 0;
};

// Whether there are too few tags and attributes for any bound, and no document type declaration.
// That is counted in a fraction of the time of a walk, and says all about most replies.
bool hasTooLittleMarkup(const QString& xml)
{
    static_assert(ReplyBounds::depth + ReplyBounds::attributesOfOneTag <= ReplyBounds::markups);
    const ushort* const text = xml.utf16();
    const int size = xml.size();
    constexpr int shortText = 4096; // longer ones have too many tags anyhow
    if (size > shortText)
        return false;
    // The loop has no branch, so that the compiler can count many characters at a time.
    int tags = 0;
    int attributes = 0;
    int declarations = 0;
    for (int i = 0; i < size; ++i) {
        tags += text[i] == '<';
        attributes += text[i] == '=';
        declarations += (text[i] == '<') & (text[i + 1] == '!'); // a null stands behind the last
    }
    return tags <= ReplyBounds::depth && attributes <= ReplyBounds::attributesOfOneTag &&
           declarations == 0;
}

} // namespace

bool isWithinReplyBounds(const QString& xml)
{
    return xml.size() <= ReplyBounds::characters &&
           (hasTooLittleMarkup(xml) || MarkupWalk(xml).staysWithinBounds());
}

QDomDocument loadReply(const QString& xml)
{
    QDomDocument document;
    // Of a malformed text QDomDocument would keep what it had read before the mistake; a cut reply
    // must not pass for a whole one.
    if (!isWithinReplyBounds(xml) || !document.setContent(xml))
        document.clear();
    return document;
}

} // namespace KelRestHandler
