// SPDX-License-Identifier: LGPL-2.1-or-later
// A document, and the signal that it becomes of each operation. The fuzzer changes it as what it
// is, by a grammar. A line stands in front of it: the operation, "A" is the first one, and how the
// reply ended, "o"kay, "r"edirect, "e"rror or "n"ot at all.
#include "bytesource.h"
#include "fuzztarget.h"
#include "grammar.h"
#include "surroundings.h"

#include "operations/table.h"
#include "rest/picture/captchapicture.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/reply/receivedreply.h"

#include <optional>

namespace KelFuzz::Document {

namespace {

using namespace KelRestHandler;

struct Ending
{
    QNetworkReply::NetworkError error;
    int status;
};

Ending endingOf(char letter)
{
    switch (letter) {
    case 'r':
        return {QNetworkReply::NoError, 302};
    case 'e':
        return {QNetworkReply::UnknownServerError, 500};
    case 'n':
        return {QNetworkReply::RemoteHostClosedError, 0};
    default:
        return {QNetworkReply::NoError, 200};
    }
}

/// What answers are to hold, whatever the document says.
class AnswerCheck : public QObject
{
public:
    explicit AnswerCheck(const NetworkResponseProcessor& processor)
    {
        connect(&processor, &ServiceSignals::signInResponse, this, [](const auto& answer) {
            require(answer.requestId == requestId);
            require(!answer.tokenInfo.time.isValid() ||
                    answer.tokenInfo.time.timeSpec() == Qt::UTC);
        });
        connect(&processor, &ServiceSignals::downloadProfileResponse, this,
                [](const DownloadProfileResponse& answer) {
                    QByteArray bytes;
                    ProfileInfoData profile(answer.profile, nullptr);
                    profile.serialize(bytes);
                    require(ProfileInfoData(bytes).services == profile.services);
                });
        connect(&processor, &ServiceSignals::detectPreAccountResponse, this,
                [](int, const PreAccountInfo& account) {
                    require(account.country >= 0 && account.country <= QLocale::LastCountry);
                });
    }

    static constexpr int requestId = 17;
};

// The grammar makes documents of names that somebody reads, and reads what it has written.
bool isGrammarSound()
{
    const QList<QByteArray> known = vocabulary();
    for (const Rule& rule : rules()) {
        QList<QByteArray> names = QByteArray(rule.children).split(' ');
        names.append(rule.name);
        for (const QByteArray& name : qAsConst(names)) {
            // The root of a refusal has any name with that word in it.
            require(known.contains(name) || name == "errorResponse");
        }
    }
    const auto asItIs = [](const QByteArray& text) { return text; };
    for (unsigned seed = 1; seed < 50; ++seed) {
        const QByteArray document = Grammar(seed, asItIs).document();
        const std::optional<Element> root = readDocument(document);
        require(root.has_value() && writeDocument(*root) == document);
        require(Grammar(seed, asItIs).changed(document).startsWith("<?xml"));
    }
    return true;
}

void run(const uint8_t* data, size_t size)
{
    beApplication();
    static const bool isSound = isGrammarSound();
    require(isSound);
    ByteSource source(data, size);
    const QByteArray line = source.line().leftJustified(2, 'o');
    const int operation =
        (static_cast<uint8_t>(line.at(0)) - 'A' + 260) % lastNetRequestType + firstNetRequestType;
    const Ending ending = endingOf(line.at(1));
    const QString text = QStringLiteral("200 OK\r\nDate: Tue, 15 Nov 1994 08:12:31 GMT\r\n\r\n") +
                         QString::fromUtf8(source.rest());

    const ReceivedReply received = receivedReply(ending.error, ending.status, text);
    require(received.error == ending.error || received.error == QNetworkReply::ProtocolFailure);
    HttpResponse response(received.error, received.text, QStringLiteral("key"),
                          AnswerCheck::requestId);
    response.setClockOfNobody();
    const UnseenPictures unseen;
    NetworkResponseProcessor processor(nullptr);
    const SignalCounter counter(&processor, ServiceSignals::staticMetaObject);
    const AnswerCheck check(processor);
    const char* const answers = operations::table[operation - 1].answers;
    const int result = processor.processResponseFromServer(operation, &response);
    require(result == (answers ? 0 : -1));
    const auto expected = answers ? QByteArray(answers).split('|') : QList<QByteArray>();
    for (const QByteArray& signature : expected)
        require(counter.count(signature.left(signature.indexOf('('))) == 1);
    require(counter.all() == expected.size());
}

} // namespace

} // namespace KelFuzz::Document

KEL_FUZZ_TARGET(document, KelFuzz::Document::run)
