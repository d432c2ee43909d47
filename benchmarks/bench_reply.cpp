// SPDX-License-Identifier: LGPL-2.1-or-later
// How long the caller's event loop stands still over the worst replies: as large as a reply may get
// at all, and with the most expensive documents within ReplyBounds and just beyond. First comes a
// list as the service sends it.

#include "rest/reply/networkresponseprocessor.h"
#include "rest/reply/receivedreply.h"
#include "rest/reply/replydocument.h"
#include "rest/request/netrequesttype.h"
#include "rest/transport/networkreplycontainer.h"

#include <benchmark/benchmark.h>

using namespace KelRestHandler;

namespace {

constexpr int mostOfDocument = ReplyBounds::characters - 200;
constexpr int mostOfReply = static_cast<int>(NetworkReplyContainer::maximumReplyBytes) - 200;

QByteArray document(const QByteArray& content)
{
    return "<?xml version=\"1.0\"?><securityQuestionsResponse>" + content +
           "</securityQuestionsResponse>";
}

QByteArray filled(const QByteArray& piece, int bytes)
{
    return piece.repeated(bytes / piece.size());
}

QByteArray questions(int count)
{
    const QByteArray question = "<securityQuestion><securityQuestionId>12</securityQuestionId>"
                                "<securityQuestionText>x</securityQuestionText></securityQuestion>";
    return document(question.repeated(count));
}

QByteArray attributes()
{
    const QByteArray tag = "<a b='' c='' d='' e='' f='' g='' h='' i='' j=''/>";
    return document(tag.repeated(ReplyBounds::markups / 10 - 1));
}

void read(benchmark::State& state, const QByteArray& body)
{
    const QString head = QStringLiteral("200 OK\r\nDate: Tue, 15 Nov 1994 08:12:31 GMT\r\n\r\n");
    NetworkResponseProcessor processor(nullptr);
    for (auto _ : state) {
        const ReceivedReply received =
            receivedReply(QNetworkReply::NoError, 200, head + QString::fromUtf8(body));
        HttpResponse response(received.error, received.text, QStringLiteral("key"), 1);
        benchmark::DoNotOptimize(
            processor.processResponseFromServer(RetrieveSecurityQuestionList, &response));
    }
}

void add(const char* name, const QByteArray& body)
{
    benchmark::RegisterBenchmark(name, read, body)->Unit(benchmark::kMicrosecond);
}

} // namespace

int main(int argc, char** argv)
{
    add("list of 10 questions", questions(10));
    add("document of one text", document(QByteArray(mostOfDocument, 'x')));
    add("document full of \"error\"", document(filled("error ", mostOfDocument)));
    add("document full of \"mirror\"", document(filled("mirror ", mostOfDocument)));
    add("document full of entities", document(filled("&amp;", mostOfDocument)));
    add("document full of lines", document(filled("\r\n", mostOfDocument)));
    add("document of most elements", questions(ReplyBounds::markups / 6 - 1));
    add("document of most attributes", attributes());
    add("document of most of all", document(filled("&amp;", mostOfDocument - 60'000) +
                                            QByteArray("<a b='' c='' d='' e=''/>").repeated(1990)));
    add("8 MiB in a document", document(filled("error ", mostOfReply)));
    add("8 MiB of elements", document(filled("<a/>", mostOfReply)));
    add("8 MiB that are no document", filled("error<?xm", mostOfReply));
    add("8 MiB that are no date", "Date:" + filled("Date: GMT ", mostOfReply));

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
