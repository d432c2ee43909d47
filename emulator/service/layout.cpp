// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/layout.h"

#include "emulator/service/values.h"

namespace KelEmulator {

namespace {

/// Walks over a document beside its layout and stops at the first deviation.
class Walk
{
public:
    explicit Walk(std::string& problem) : mProblem(problem) {}
    bool element(const XmlElement& got, const Layout& wanted);

private:
    bool children(const XmlElement& got, const Layout& wanted);
    bool text(const XmlElement& got, const Layout& wanted);
    bool fail(const std::string& problem)
    {
        mProblem = problem;
        return false;
    }

    std::string& mProblem;
};

bool isOneOf(const std::string& text, const char* list)
{
    const std::string all = '|' + std::string(list) + '|';
    return text.find('|') == std::string::npos && all.find('|' + text + '|') != std::string::npos;
}

bool isInteger(const std::string& text)
{
    const size_t start = text.empty() || text.front() != '-' ? 0 : 1;
    const size_t digits = text.size() - start;
    if (digits == 0 || digits > 10 ||
        text.find_first_not_of("0123456789", start) != std::string::npos)
        return false;
    return text[start] != '0' || text == "0";
}

bool Walk::text(const XmlElement& got, const Layout& wanted)
{
    const std::string element = "element " + got.name;
    switch (wanted.form) {
    case Form::Text:
    case Form::Elements:
        return true;
    case Form::NonEmpty:
        return !got.text.empty() || fail(element + " is empty; it is left out then");
    case Form::Words:
        return isOneOf(got.text, wanted.words) ||
               fail(element + " has a value other than " + wanted.words);
    case Form::Date:
        return isDate(got.text) || fail(element + " is no date yyyy-MM-dd");
    case Form::Base64:
        return isBase64(got.text) || fail(element + " is not padded base64");
    case Form::Integer:
        return isInteger(got.text) || fail(element + " is no decimal number without padding");
    case Form::Nothing:
        return got.text.empty() || fail(element + " is not empty");
    }
    return true;
}

/// What is known of the element before, in the order of the layout.
struct Before
{
    bool isThere = false;
    bool hasText = false;
};

bool mayStand(Presence presence, const Before& before)
{
    switch (presence) {
    case Presence::Required:
    case Presence::Optional:
    case Presence::Repeated:
        return true;
    case Presence::WithBefore:
        return before.isThere;
    case Presence::InsteadOptional:
    case Presence::InsteadRequired:
        return !before.isThere;
    case Presence::AfterText:
        return before.hasText;
    }
    return true;
}

bool mustStand(Presence presence, const Before& before)
{
    return presence == Presence::Required || (presence == Presence::WithBefore && before.isThere) ||
           (presence == Presence::InsteadRequired && !before.isThere);
}

bool Walk::children(const XmlElement& got, const Layout& wanted)
{
    if (!got.text.empty())
        return fail("there is text or white space between the elements of " + got.name);
    size_t next = 0;
    const auto nextName = [&] {
        return next < got.children.size() ? got.children[next].name : std::string();
    };
    const auto where = [&] {
        return next == 0 ? " first in " + got.name : " after " + got.children[next - 1].name;
    };
    const auto found = [&] {
        return ", found " + (next < got.children.size() ? nextName() : "the end of " + got.name);
    };

    Before before;
    for (size_t at = 0; at < wanted.childCount; ++at) {
        const Layout& child = wanted.children[at];
        Before here;
        while (nextName() == child.name && mayStand(child.presence, before) &&
               (!here.isThere || child.presence == Presence::Repeated)) {
            if (!element(got.children[next], child))
                return false;
            here = {true, !got.children[next].text.empty()};
            ++next;
        }
        if (!here.isThere && mustStand(child.presence, before))
            return fail("expected element " + std::string(child.name) + where() + found());
        before = here;
    }
    return next == got.children.size() ||
           fail("expected the end of " + got.name + where() + found());
}

bool Walk::element(const XmlElement& got, const Layout& wanted)
{
    if (wanted.form == Form::Elements)
        return children(got, wanted);
    if (!got.children.empty())
        return fail("element " + got.name + " has elements in it");
    return text(got, wanted);
}

} // namespace

bool follows(const XmlElement& root, const Layout& layout, std::string& problem)
{
    if (root.name != layout.name) {
        problem = "expected the root element " + std::string(layout.name) + ", found " + root.name;
        return false;
    }
    return Walk(problem).element(root, layout);
}

} // namespace KelEmulator
