// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/replydocument.h"

#include "rest/reply/plaindocument.h"

#include <algorithm>

namespace KelRestHandler {

namespace {

/// Walks over the markup of a text without understanding more of it than the bounds need. What it
/// takes for a start tag is at least what an XML reader takes for one, so the depth it counts is
/// never too small.
class MarkupWalk
{
public:
    explicit MarkupWalk(QStringView xml) : mXml(xml), mPosition(xml.begin()), mEnd(xml.end()) {}

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
        // Between two tags there is little, as a rule; for the rest Qt compares many characters at
        // a time.
        constexpr int littleText = 32;
        const QChar* const shortly = mPosition + std::min<qptrdiff>(littleText, mEnd - mPosition);
        mPosition = std::find(mPosition, shortly, QLatin1Char('<'));
        if (mPosition == shortly) {
            const qsizetype found = mXml.indexOf(QLatin1Char('<'), position());
            mPosition = found < 0 ? mEnd : mXml.begin() + found;
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
        const qsizetype found = mXml.indexOf(quote, position() + 1);
        mPosition = found < 0 ? mEnd : mXml.begin() + found;
        return found >= 0;
    }

    bool skipPast(QLatin1String terminator)
    {
        const qsizetype found = mXml.indexOf(terminator, position());
        mPosition = found < 0 ? mEnd : mXml.begin() + found + terminator.size();
        return true;
    }

    bool startsWith(QLatin1String text) const
    {
        return QStringView(mPosition, mEnd).startsWith(text);
    }

    qsizetype position() const { return mPosition - mXml.begin(); }

    QStringView mXml;
    const QChar* mPosition;
    const QChar* mEnd;
    int mDepth = 0;
    int mMarkups = 0;
};

// Whether there are too few tags and attributes for any bound, and no document type declaration.
// That is counted in a fraction of the time of a walk, and says all about most replies.
bool hasTooLittleMarkup(QStringView xml)
{
    static_assert(ReplyBounds::depth + ReplyBounds::attributesOfOneTag <= ReplyBounds::markups);
    const QChar* const text = xml.begin();
    const qsizetype last = xml.size() - 1;
    constexpr int shortText = 4096; // longer ones have too many tags anyhow
    if (last < 0 || last >= shortText)
        return last < 0;
    // The loop has no branch, so that the compiler can count many characters at a time.
    int tags = text[last].unicode() == '<';
    int attributes = text[last].unicode() == '=';
    int declarations = 0;
    for (int i = 0; i < last; ++i) {
        tags += text[i].unicode() == '<';
        attributes += text[i].unicode() == '=';
        declarations += static_cast<int>(text[i].unicode() == '<') &
                        static_cast<int>(text[i + 1].unicode() == '!');
    }
    return tags <= ReplyBounds::depth && attributes <= ReplyBounds::attributesOfOneTag &&
           declarations == 0;
}

} // namespace

QStringView documentIn(QStringView text)
{
    const qsizetype start = text.indexOf(QLatin1String("<?xml"));
    return start < 0 ? QStringView() : text.mid(start);
}

bool isWithinReplyBounds(QStringView xml)
{
    return xml.size() <= ReplyBounds::characters &&
           (hasTooLittleMarkup(xml) || MarkupWalk(xml).staysWithinBounds());
}

QDomDocument loadReply(const QString& xml)
{
    QDomDocument document = plainDocument(xml);
    if (!document.isNull())
        return document;
    // Of a malformed text QDomDocument would keep what it had read before the mistake; a cut reply
    // must not pass for a whole one.
    if (!isWithinReplyBounds(xml) || !document.setContent(xml))
        document.clear();
    return document;
}

} // namespace KelRestHandler
