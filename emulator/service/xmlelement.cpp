// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/xmlelement.h"

#include "rest/request/servicehosts.h"

#include <QXmlStreamReader>

#include <algorithm>

namespace KelEmulator {

namespace {

constexpr std::string_view declaration = R"(<?xml version="1.0" encoding="UTF-8"?>)";
constexpr const char* schemaNamespace = "https://" KELACCOUNT_HOST_PRODUCTION "/schemas/rest/v1_0";
constexpr size_t longestDocument = 262144;
constexpr size_t deepest = 8;
constexpr int mostElements = 10000;

std::string printable(const QString& name)
{
    constexpr int longestName = 64;
    return name.left(longestName).toStdString();
}

class Reader
{
public:
    Reader(std::string_view document, std::string& problem) : mProblem(problem)
    {
        mReader.addData(
            QByteArray::fromRawData(document.data(), static_cast<int>(document.size())));
    }
    bool read(XmlElement& root);

private:
    bool fail(const std::string& text)
    {
        mProblem = text;
        return false;
    }
    bool begin(XmlElement& root);
    bool token(XmlElement& root);

    QXmlStreamReader mReader;
    std::vector<XmlElement*> mOpen;
    int mCount = 0;
    std::string& mProblem;
};

bool Reader::begin(XmlElement& root)
{
    const std::string name = printable(mReader.qualifiedName().toString());
    if (!mReader.prefix().isEmpty())
        return fail("element " + name + " has a namespace prefix");
    if (mReader.namespaceUri() != QLatin1String(schemaNamespace))
        return fail("element " + name + " is not in the namespace " + schemaNamespace);
    if (!mReader.attributes().isEmpty() ||
        mReader.namespaceDeclarations().size() != (mOpen.empty() ? 1 : 0))
        return fail("element " + name + " has an attribute that does not belong there");
    if (mOpen.size() == deepest)
        return fail("elements are nested more than " + std::to_string(deepest) + " deep");
    if (++mCount > mostElements)
        return fail("there are more than " + std::to_string(mostElements) + " elements");

    XmlElement* element = &root;
    if (!mOpen.empty())
        element = &mOpen.back()->children.emplace_back();
    // Only the last child is open, so the list above it may grow.
    element->name = name;
    mOpen.push_back(element);
    return true;
}

bool Reader::token(XmlElement& root)
{
    switch (mReader.readNext()) {
    case QXmlStreamReader::StartDocument:
    case QXmlStreamReader::EndDocument:
        return true;
    case QXmlStreamReader::StartElement:
        return begin(root);
    case QXmlStreamReader::EndElement:
        mOpen.pop_back();
        return true;
    case QXmlStreamReader::Characters:
        if (mReader.isCDATA())
            return fail("there is a CDATA section");
        if (mOpen.empty())
            return fail("there is text outside the root element");
        mOpen.back()->text += mReader.text().toString().toStdString();
        return true;
    case QXmlStreamReader::Comment:
        return fail("there is a comment");
    case QXmlStreamReader::DTD:
    case QXmlStreamReader::EntityReference:
        return fail("there is a document type or an entity of its own");
    case QXmlStreamReader::ProcessingInstruction:
        return fail("there is a processing instruction");
    case QXmlStreamReader::NoToken:
    case QXmlStreamReader::Invalid:
        break;
    }
    return fail("the document is not well-formed XML (line " +
                std::to_string(mReader.lineNumber()) + ", column " +
                std::to_string(mReader.columnNumber()) + ')');
}

bool Reader::read(XmlElement& root)
{
    while (!mReader.atEnd()) {
        if (!token(root))
            return false;
    }
    return true;
}

} // namespace

const XmlElement* XmlElement::child(std::string_view childName) const
{
    const auto found =
        std::find_if(children.begin(), children.end(),
                     [&](const XmlElement& candidate) { return candidate.name == childName; });
    return found == children.end() ? nullptr : &*found;
}

const std::string& XmlElement::textOf(std::string_view childName) const
{
    static const std::string none;
    const XmlElement* const found = child(childName);
    return found ? found->text : none;
}

bool readXml(std::string_view document, XmlElement& root, std::string& problem)
{
    if (document.size() > longestDocument) {
        problem = "the document is longer than " + std::to_string(longestDocument) + " bytes";
        return false;
    }
    if (document.substr(0, declaration.size()) != declaration) {
        problem = "the document does not begin with " + std::string(declaration);
        return false;
    }
    if (document.substr(declaration.size(), 1) != "<") {
        problem = "the root element does not follow the declaration at once";
        return false;
    }
    // The XML reader passes over what follows the root.
    if (document.back() != '>') {
        problem = "the document does not end with the root element";
        return false;
    }
    return Reader(document, problem).read(root);
}

} // namespace KelEmulator
