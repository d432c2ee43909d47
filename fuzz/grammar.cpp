// SPDX-License-Identifier: LGPL-2.1-or-later
#include "grammar.h"

#include "vocabulary.h"

#include <algorithm>
#include <iterator>

namespace KelFuzz {

namespace {

constexpr int deepest = 40;

const std::vector<Rule> allRules = {
    {"tokenCreationResponse", "tokenInfo userInfo termsInfo termsinfo"},
    {"tokenRefreshResponse", "tokenInfo userInfo"},
    {"registrationResponse", "tokenInfo userInfo"},
    {"phoneActivationRegistrationResponse", "tokenInfo userInfo"},
    {"tokenInfo", "token tokenSecret conditions authenticationInfo"},
    {"conditions", "ttl expires"},
    {"authenticationInfo", "level time"},
    {"userInfo", "username accountId mobile email emailVerified mobileVerified"},
    {"termsInfo", "hasAcceptedTos hasAcceptedPrivacyPolicy hasAcceptedServiceSpecificTos"},
    {"termsinfo", "hasAcceptedTos hasAcceptedPrivacyPolicy hasAcceptedServiceSpecificTos"},
    {"userNameAvailabilityResponse", "userNameSuggestions"},
    {"userNameSuggestions", "userNameSuggestion userNameSuggestion"},
    {"captchaCreationResponse", "captchaId imageType imageData"},
    {"securityQuestionsResponse", "securityQuestion securityQuestion"},
    {"securityQuestion", "securityQuestionId securityQuestionText"},
    {"simplifiedPasswordQuestionResponse", "username passwordQuestionId passwordQuestionText"},
    {"simplifiedChangePasswordResponse", "username"},
    {"autoDetectionResponse", "preAccountId username mobile country"},
    {"serviceQueryResponse",
     "serviceUrl tosUrl privacyPolicyUrl serviceSpecificTosUrl emailVerified extensions"},
    {"consentQueryVariantResponse", "consentQueryVariant"},
    {"marketingConsentQueryResponse", "marketingConsent"},
    {"marketingConsent", "email mobile"},
    {"guardianTokenCreationResponse", "guardianToken"},
    {"contactsUpdateResponse", "contacts"},
    {"contacts", "mobileContactOutput emailContactOutput"},
    {"mobileContactOutput", "mobileNumber preferred verified"},
    {"emailContactOutput", "emailAddress preferred verified"},
    {"profileQueryResponse", "profile services"},
    {"profileUpdateResponse", "userProfile"},
    {"profile", "username accountId mobile email mobileVerified emailVerified passwordQuestion "
                "language country dateOfBirth firstName lastName gender"},
    {"userProfile", "username accountId mobile email passwordQuestion language country"},
    {"services", "service service"},
    // The roots of refusals have any name with that word in it.
    {"errorResponse", "errorCode errorText registrationError profileUpdateError extensions "
                      "contactUpdateError guardianValidationError "
                      "phoneActivationRegistrationError"},
    {"registrationError", "captchaError serviceTagError attributeSyntaxError usernameReserved "
                          "illegalUpdate extensions"},
    {"profileUpdateError", "illegalUpdate attributeSyntaxError extensions"},
    {"contactUpdateError", "illegalUpdate attributeSyntaxError extensions"},
    {"guardianValidationError", "attributeSyntaxError extensions"},
    {"phoneActivationRegistrationError",
     "captchaError serviceTagError usernameReserved extensions"},
    {"extensions", "detailedErrorCode errorCode errorText ageVerificationNeeded"},
    {"ageVerificationNeeded", "ageVerificationMethod ageVerificationMethod"},
};

constexpr const char* texts[] = {
    "",
    "0",
    "1",
    "true",
    "false",
    "FALSE",
    "-1",
    "3600",
    "9223372036854775807",
    "99999999999999999999999",
    "2012-03-04T05:06:07.089Z",
    "2012-03-04Z",
    "0000-00-00Z",
    "9999-12-31T23:59:59.999Z",
    "fi",
    "FI",
    "en",
    "zz",
    "MALE",
    "female",
    "implicit",
    "pre-ticked",
    "un-ticked",
    "un-tickedWithCopyText",
    "SIMPLECONSENT",
    "DISALLOWED",
    "iVBORw0KGgo=",
    "not base64 %%",
    "&amp;&lt;&#x41;",
    "&#0;",
    "&undeclared;",
    "somebody@mail.example",
    "+358401234567",
    "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80",
    "\xEF\xBF\xBF",
    "\xED\xA0\x80",
    "error",
    "  blanks around  ",
    "image/png",
};

constexpr const char* oddities[] = {
    "<!-- comment -->",
    "<!-- > -- >-->",
    "<![CDATA[<error/>]]>",
    "<?target data?>",
    "<?xml version=\"1.0\"?>",
    "<!DOCTYPE a [<!ENTITY b \"c\">]>",
    "]]>",
    "<",
    ">",
    "<a b='>'/>",
    "</nothing>",
    "\r\n\t",
    "<x:y xmlns:x='z'/>",
};

const Rule* ruleOf(const QByteArray& name)
{
    const auto found = std::find_if(allRules.begin(), allRules.end(),
                                    [&](const Rule& rule) { return name == rule.name; });
    return found == allRules.end() ? nullptr : &*found;
}

bool isNameLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.' || c == ':';
}

/// Reads what writeDocument() writes, and what is much like it.
class Reader
{
public:
    explicit Reader(const QByteArray& text) : mText(text) {}

    std::optional<Element> document()
    {
        mAt = std::max(0, mText.indexOf("?>") + 2);
        while (mAt < mText.size() && isBlank(mText.at(mAt)))
            ++mAt;
        Element root;
        if (!readElement(root, 0))
            return std::nullopt;
        return root;
    }

private:
    static bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

    bool readElement(Element& element, int depth)
    {
        if (depth > deepest || mAt >= mText.size() || mText.at(mAt) != '<')
            return false;
        const int start = ++mAt;
        while (mAt < mText.size() && isNameLetter(mText.at(mAt)))
            ++mAt;
        element.name = mText.mid(start, mAt - start);
        const int end = mText.indexOf('>', mAt);
        if (element.name.isEmpty() || end < 0)
            return false;
        element.attributes = mText.mid(mAt, end - mAt);
        mAt = end + 1;
        if (element.attributes.endsWith('/')) {
            element.attributes.chop(1);
            return true;
        }
        return readParts(element, depth);
    }

    bool readParts(Element& element, int depth)
    {
        for (;;) {
            const int next = mText.indexOf('<', mAt);
            if (next < 0 || next + 1 >= mText.size())
                return false;
            if (next > mAt)
                element.parts.push_back({mText.mid(mAt, next - mAt), std::nullopt});
            mAt = next;
            if (mText.at(next + 1) == '/') {
                mAt = mText.indexOf('>', next) + 1;
                return mAt > 0;
            }
            if (!isNameLetter(mText.at(next + 1))) {
                const int end = mText.indexOf('>', next);
                if (end < 0)
                    return false;
                element.parts.push_back({mText.mid(next, end + 1 - next), std::nullopt});
                mAt = end + 1;
                continue;
            }
            Part part;
            part.element.emplace();
            if (!readElement(*part.element, depth + 1))
                return false;
            element.parts.push_back(std::move(part));
        }
    }

    const QByteArray& mText;
    int mAt = 0;
};

void write(const Element& element, QByteArray& to)
{
    to += '<' + element.name + element.attributes + '>';
    for (const Part& part : element.parts) {
        if (part.element)
            write(*part.element, to);
        else
            to += part.markup;
    }
    to += "</" + element.name + '>';
}

void collect(Element& element, std::vector<Element*>& all)
{
    all.push_back(&element);
    for (Part& part : element.parts) {
        if (part.element)
            collect(*part.element, all);
    }
}

} // namespace

const std::vector<Rule>& rules()
{
    return allRules;
}

QList<QByteArray> vocabulary()
{
    QList<QByteArray> names;
    for (const char* name : readNames)
        names.append(name);
    return names;
}

std::optional<Element> readDocument(const QByteArray& document)
{
    return Reader(document).document();
}

QByteArray writeDocument(const Element& root)
{
    QByteArray text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    write(root, text);
    return text;
}

QByteArray Grammar::text()
{
    const QByteArray known(texts[static_cast<size_t>(below(std::size(texts)))]);
    switch (below(6)) {
    case 0:
        return mChangeText(known);
    case 1: // every name is the value of something, "invalidCaptcha" of a code
        return oneOf(readNames);
    default:
        return known;
    }
}

QByteArray Grammar::oddity()
{
    return oddities[static_cast<size_t>(below(std::size(oddities)))];
}

Element Grammar::element(const QByteArray& name, int depth)
{
    Element made;
    made.name = name;
    const Rule* const rule = ruleOf(name);
    // The root of an operation that nobody has made a rule for.
    if (!rule && depth <= deepest && name.endsWith("Response")) {
        for (int i = below(6); i > 0; --i) {
            Part part;
            part.element = element(oneOf(readNames), depth + 1);
            made.parts.push_back(std::move(part));
        }
        return made;
    }
    if (!rule || depth > deepest) {
        made.parts.push_back({text(), std::nullopt});
        return made;
    }
    const auto children = QByteArray(rule->children).split(' ');
    for (const QByteArray& child : children) {
        if (below(5) == 0)
            continue;
        Part part;
        part.element = element(child, depth + 1);
        made.parts.push_back(std::move(part));
    }
    return made;
}

QByteArray Grammar::document(const QByteArray& root)
{
    const QByteArray any = below(8) == 0 ? oneOf(readNames) : oneOf(allRules).name;
    return writeDocument(element(root.isEmpty() ? any : root, 0));
}

void Grammar::changeTextOf(Element& element)
{
    for (Part& part : element.parts) {
        if (!part.element) {
            part.markup = below(2) == 0 ? text() : mChangeText(part.markup);
            return;
        }
    }
    element.parts.push_back({text(), std::nullopt});
}

void Grammar::change(Element& root)
{
    std::vector<Element*> all;
    collect(root, all);
    Element& target = *oneOf(all);
    auto& parts = target.parts;
    const auto place = parts.begin() + below(static_cast<int>(parts.size()) + 1);
    switch (below(10)) {
    case 0:
        target.name = oneOf(readNames);
        break;
    case 1:
        target = element(target.name, 0);
        break;
    case 2: {
        Part part;
        part.element = element(oneOf(readNames), 0);
        parts.insert(place, std::move(part));
        break;
    }
    case 3:
        if (!parts.empty())
            parts.erase(parts.begin() + below(static_cast<int>(parts.size())));
        break;
    case 4:
        if (!parts.empty() && parts.size() < 200) {
            const Part copy = oneOf(parts);
            parts.insert(parts.begin(), static_cast<size_t>(1 + below(30)), copy);
        }
        break;
    case 5:
        std::shuffle(parts.begin(), parts.end(), mRandom);
        break;
    case 6:
        parts.insert(place, {oddity(), std::nullopt});
        break;
    case 7:
        target.attributes += ' ' + QByteArray(oneOf(readNames)) + "=\"" + text() + '"';
        break;
    case 8: { // deeper
        Part part;
        part.element = target;
        for (int i = below(12); i >= 0; --i) {
            Part outer;
            outer.element.emplace();
            outer.element->name = oneOf(readNames);
            outer.element->parts.push_back(std::move(part));
            part = std::move(outer);
        }
        parts.assign(1, std::move(part));
        break;
    }
    default:
        changeTextOf(target);
    }
}

QByteArray Grammar::changed(const QByteArray& document)
{
    std::optional<Element> root = readDocument(document);
    if (!root || below(40) == 0)
        return this->document();
    for (int i = below(3); i >= 0; --i)
        change(*root);
    return writeDocument(*root);
}

QByteArray Grammar::crossed(const QByteArray& document, const QByteArray& other)
{
    std::optional<Element> root = readDocument(document);
    std::optional<Element> from = readDocument(other);
    if (!root || !from)
        return document;
    std::vector<Element*> targets;
    std::vector<Element*> sources;
    collect(*root, targets);
    collect(*from, sources);
    Part part;
    part.element = *oneOf(sources);
    oneOf(targets)->parts.push_back(std::move(part));
    return writeDocument(*root);
}

} // namespace KelFuzz
