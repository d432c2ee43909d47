// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/xmlelement.h"
#include "rest/request/servicehosts.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QtTest>

namespace {

const QByteArray xmlDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
const QByteArray namespaceOfSchemas = "https://" KELACCOUNT_HOST_PRODUCTION "/schemas/rest/v1_0";

} // namespace

class TestOperationsXml : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsElementsAndTheirText()
    {
        const QByteArray document = xmlDeclaration + "<a xmlns=\"" + namespaceOfSchemas +
                                    "\"><b>1 &lt; 2 &#228;</b><c/><b>second</b></a>";
        KelEmulator::XmlElement root;
        std::string problem;
        QVERIFY2(KelEmulator::readXml(document.toStdString(), root, problem), problem.c_str());
        QCOMPARE(root.name, std::string("a"));
        QCOMPARE(root.children.size(), size_t(3));
        QCOMPARE(root.textOf("b"), std::string("1 < 2 \xc3\xa4"));
        QCOMPARE(root.textOf("none"), std::string());
        QVERIFY(root.child("c"));
        QVERIFY(!root.child("none"));
    }

    void readsNothingButPlainElements_data()
    {
        const auto row = rows<QByteArray, QByteArray>("document", "problem");
        const QByteArray start =
            "<captchaCreationRequest xmlns=\"" + namespaceOfSchemas + "\"><width>1</width>";
        const QByteArray end = "<height>1</height></captchaCreationRequest>";
        const auto inside = [&](const char* name, const QByteArray& content, const char* problem) {
            row(name, xmlDeclaration + start + content + end, problem);
        };
        row("no declaration", start + end, "the document does not begin with <?xml");
        row("other quotes", "<?xml version='1.0' encoding='UTF-8'?>" + start + end,
            "the document does not begin with <?xml");
        row("line end after the declaration", xmlDeclaration + '\n' + start + end,
            "the root element does not follow the declaration at once");
        row("line end after the root", xmlDeclaration + start + end + '\n',
            "the document does not end with the root element");
        row("document type", xmlDeclaration + "<!DOCTYPE a>" + start + end,
            "there is a document type or an entity of its own");
        row("entity", xmlDeclaration + "<!DOCTYPE a [<!ENTITY e \"1\">]>" + start + "&e;" + end,
            "there is a document type or an entity of its own");
        inside("comment", "<!-- c -->", "there is a comment");
        inside("CDATA section", "<![CDATA[1]]>", "there is a CDATA section");
        inside("instruction", "<?do it?>", "there is a processing instruction");
        inside("attribute", "<a b=\"c\"/>",
               "element a has an attribute that does not belong there");
        inside("declared again", "<a xmlns=\"" + namespaceOfSchemas + "\"/>",
               "element a has an attribute that does not belong there");
        inside("other namespace", "<a xmlns=\"urn:b\"/>", "element a is not in the namespace");
        inside("prefix", "<b:a xmlns:b=\"" + namespaceOfSchemas + "\"/>",
               "element b:a has a namespace prefix");
        inside("not closed", "<a>", "the document is not well-formed XML");
        inside("loose ampersand", "a & b", "the document is not well-formed XML");
        inside("not UTF-8", "\xff", "the document is not well-formed XML");
        inside("nested deep", "<a>"_ba.repeated(10000), "elements are nested more than 8 deep");
        inside("many elements", "<a/>"_ba.repeated(20000), "there are more than 10000 elements");
        inside("long", QByteArray(300000, ' '), "the document is longer than 262144 bytes");
        row("no namespace", xmlDeclaration + "<captchaCreationRequest/>",
            "element captchaCreationRequest is not in the namespace https://");
        row("cut", (xmlDeclaration + start + end).chopped(25),
            "the document is not well-formed XML");
        row("two roots", xmlDeclaration + start + end + start + end,
            "the document is not well-formed XML");
        row("declaration alone", xmlDeclaration, "the root element does not follow");
    }
    void readsNothingButPlainElements()
    {
        const auto [document, problem] = fetch<QByteArray, QByteArray>("document", "problem");
        KelEmulator::XmlElement root;
        std::string got;
        QVERIFY(!KelEmulator::readXml(document.toStdString(), root, got));
        QVERIFY2(QByteArray::fromStdString(got).startsWith(problem), got.c_str());
    }
};

QTEST_GUILESS_MAIN(TestOperationsXml)
#include "tst_operations_xml.moc"
