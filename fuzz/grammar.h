// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QList>

#include <functional>
#include <optional>
#include <random>
#include <vector>

/// Documents as the service writes them, and how they are changed to others that are nearly so.
namespace KelFuzz {

struct Part;

struct Element
{
    QByteArray name;
    QByteArray attributes; ///< as written, with a blank in front
    std::vector<Part> parts;
};

struct Part
{
    QByteArray markup; ///< text, or anything else that is no element, as written
    std::optional<Element> element;
};

/// An element's name with those that may stand in it.
struct Rule
{
    const char* name;
    const char* children; ///< with blanks between them; empty for one that holds a text
};

const std::vector<Rule>& rules();
/// The names that the readers of documents ask for, and the roots, out of their sources.
QList<QByteArray> vocabulary();

class Grammar
{
public:
    using Random = std::minstd_rand;
    /// Changes a text without knowing what it is; the fuzzer's.
    using ChangeText = std::function<QByteArray(const QByteArray&)>;

    Grammar(unsigned seed, ChangeText changeText)
        : mRandom(seed), mChangeText(std::move(changeText))
    {
    }

    /// A document with that root; any root without a name.
    QByteArray document(const QByteArray& root = QByteArray());
    /// The document with a change or some. One that is none becomes one.
    QByteArray changed(const QByteArray& document);
    /// The document with elements of the other one.
    QByteArray crossed(const QByteArray& document, const QByteArray& other);

private:
    int below(int limit) { return static_cast<int>(mRandom() % static_cast<unsigned>(limit)); }
    template <class List>
    const auto& oneOf(const List& list)
    {
        return list[static_cast<size_t>(below(static_cast<int>(list.size())))];
    }

    Element element(const QByteArray& name, int depth);
    QByteArray text();
    QByteArray oddity();
    void change(Element& root);
    void changeTextOf(Element& element);

    Random mRandom;
    ChangeText mChangeText;
};

/// The root of a document without entities of its own; none when it is no such document, or a very
/// deep one.
std::optional<Element> readDocument(const QByteArray& document);
QByteArray writeDocument(const Element& root);

} // namespace KelFuzz
