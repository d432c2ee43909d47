// SPDX-License-Identifier: LGPL-2.1-or-later
// Holds what docs/security.md says that leaves the device against what does.
#include "operations/bodies.h"
#include "operations/operations.h"
#include "platform/fakemodem.h"
#include "rest/request/clientidentification.h"
#include "rest/transport/networkhandler.h"
#include "support/fixedsigner.h"
#include "support/literals.h"
#include "support/patience.h"
#include "support/scriptedserver.h"

#include <QDomDocument>
#include <QFile>
#include <QNetworkProxy>
#include <QRegularExpression>
#include <QTest>

using namespace KelRestHandler;

namespace {

using Names = QMap<QString, QStringList>;

QString pageText(const char* name)
{
    QFile file(QStringLiteral(KELACCOUNT_DOCUMENTS "/") + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s is missing", qPrintable(file.fileName()));
    return QString::fromUtf8(file.readAll());
}

QStringList codesIn(const QString& text)
{
    QStringList names;
    static const QRegularExpression code("`([^`]+)`"_s);
    for (auto match = code.globalMatch(text); match.hasNext();)
        names.append(match.next().captured(1));
    return names;
}

// The rows of the first table behind a heading of the page, as the names of their first two cells.
QList<QPair<QStringList, QStringList>> tableBehind(const char* heading)
{
    QList<QPair<QStringList, QStringList>> rows;
    const QString page = pageText("security.md");
    const int start = page.indexOf(QLatin1Char('\n') + QLatin1String(heading) + QLatin1Char('\n'));
    if (start < 0)
        return rows;
    const QStringList lines = page.mid(start + 1).split(QLatin1Char('\n')).mid(1);
    for (const QString& line : lines) {
        if (line.startsWith(QLatin1Char('#')) || (line.isEmpty() && !rows.isEmpty()))
            break;
        const QStringList cells = line.split(QLatin1Char('|'));
        if (cells.size() >= 4 && cells.at(1).contains(QLatin1Char('`')))
            rows.append({codesIn(cells.at(1)), codesIn(cells.at(2))});
    }
    return rows;
}

void addElementsWithValue(const QDomElement& element, QStringList& names)
{
    bool isLeaf = true;
    for (QDomElement child = element.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        isLeaf = false;
        addElementsWithValue(child, names);
    }
    if (isLeaf && !element.text().isEmpty() && !names.contains(element.tagName()))
        names.append(element.tagName());
}

Names sorted(Names names)
{
    for (QStringList& list : names)
        list.sort();
    return names;
}

} // namespace

class TestSecurityPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theDocumentsSayWhatThePageSays()
    {
        Names written;
        const auto bodies = operations::bodies();
        for (const operations::Body& body : bodies) {
            const QString& text = body.xml;
            // No document, no row.
            if (text.isEmpty())
                continue;
            QDomDocument document;
            QVERIFY2(document.setContent(text), body.name);
            const QDomElement root = document.documentElement();
            addElementsWithValue(root, written[root.tagName()]);
        }
        // Each that an operation sends is among them.
        QStringList sent;
        for (const operations::Facts& facts : operations::table)
            sent += operations::formsOf(facts.body);
        QCOMPARE(QSet<QString>(sent.begin(), sent.end()),
                 QSet<QString>(written.keyBegin(), written.keyEnd()));

        Names onThePage;
        const auto rows = tableBehind("### In the documents");
        for (const auto& row : rows)
            onThePage.insert(row.first.value(0), row.second);
        QCOMPARE(rows.size(), onThePage.size());
        QCOMPARE(sorted(onThePage), sorted(written));
    }

    void theHeadersOnTheWireAreThePages()
    {
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
        qunsetenv("http_proxy");
        qunsetenv("https_proxy");
        KelTest::FakeModem::reset();
        ScriptedServer server;
        server.answerBy([](const WireRequest&) { return Reaction::reply(200, "<a/>"); });
        FixedSigner signer;
        signer.token = "token-77"_s;
        NetworkHandler handler(nullptr);
        std::vector<std::unique_ptr<OAuthRequest>> requests;
        for (const operations::Operation& row : operations::all()) {
            requests.push_back(row.make(signer, server.base(), operations::Values()));
            QCOMPARE(handler.sendNetWorkRequest(requests.back().get(),
                                                static_cast<NetRequestType>(row.number)),
                     0);
        }
        QTRY_COMPARE(server.requests().size(), operations::all().size());

        QStringList sent;
        for (const WireRequest& request : server.requests()) {
            for (const auto& header : request.headers)
                sent.append(QString::fromLatin1(header.first).toLower());
        }
        sent.removeDuplicates();
        sent.sort();
        QStringList onThePage;
        const auto rows = tableBehind("### With every request");
        for (const auto& row : rows)
            onThePage += row.first;
        for (QString& name : onThePage)
            name = name.toLower();
        onThePage.sort();
        QCOMPARE(sent, onThePage);
    }
};

QTEST_MAIN(TestSecurityPage)
#include "tst_securitypage.moc"
