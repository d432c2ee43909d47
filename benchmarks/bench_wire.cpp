// SPDX-License-Identifier: LGPL-2.1-or-later
// Reading replies beside QDomDocument::setContent alone on the same text, and writing a full
// registration beside QXmlStreamWriter writing the same document from values that are ready.

#include "rest/reply/msgparser.h"
#include "rest/request/msgcreator.h"
#include "rest/request/serviceaddress.h"

#include <QDomDocument>
#include <QXmlStreamWriter>

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace KelRestHandler;

namespace {

QString startOfReply(const char* root)
{
    return QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?><%1 xmlns=\"%2\">")
        .arg(QLatin1String(root), QLatin1String(RestSchemaNamespace));
}

// Every field that a profile has, and services to make it 1.5 KB long.
QString profileReply()
{
    QString xml = startOfReply("profileQueryResponse");
    xml += QLatin1String("<profile><username>alice.liddell</username><accountId>1000042</accountId>"
                         "<mobile>+441632960123</mobile><email>alice@wonderland.example</email>"
                         "<mobileVerified>true</mobileVerified><emailVerified>false</emailVerified>"
                         "<passwordQuestion>3</passwordQuestion><language>en</language>"
                         "<country>GB</country><dateOfBirth>1952-05-04Z</dateOfBirth>"
                         "<firstName>Alice</firstName><lastName>Liddell</lastName>"
                         "<gender>female</gender></profile><services>");
    for (int i = 1; xml.size() < 1450; ++i)
        xml += QStringLiteral("<service>service.%1.example</service>").arg(i);
    return xml + QLatin1String("</services></profileQueryResponse>");
}

QString questionListReply()
{
    QString xml = startOfReply("securityQuestionsResponse");
    for (int i = 1; xml.size() < 30'000; ++i) {
        xml += QStringLiteral("<securityQuestion><securityQuestionId>%1</securityQuestionId>"
                              "<securityQuestionText>What was the name of the street in which you "
                              "grew up?</securityQuestionText></securityQuestion>")
                   .arg(i);
    }
    return xml + QLatin1String("</securityQuestionsResponse>");
}

QString captchaReply()
{
    return startOfReply("captchaCreationResponse") +
           QLatin1String("<captchaId>captcha-9</captchaId><imageType>image/png</imageType>"
                         "<imageData>") +
           QString(200'000, QLatin1Char('A')) +
           QLatin1String("</imageData></captchaCreationResponse>");
}

RegistrationInfoData registration()
{
    RegistrationInfoData data;
    data.userName = QStringLiteral("alice.liddell");
    data.captchaText = QStringLiteral("xk7Qp");
    data.password = QStringLiteral("correct horse battery");
    data.mobilePhoneNumber = QStringLiteral("+441632960123");
    data.emailAddress = QStringLiteral("alice@wonderland.example");
    data.securityQuestion = QStringLiteral("3");
    data.securityAnswer = QStringLiteral("a grin without a cat");
    data.dateOfBirth = QDate(1952, 5, 4);
    data.firstName = QStringLiteral("Alice");
    data.lastName = QStringLiteral("Liddell");
    data.countryAsString = QStringLiteral("GB");
    data.languageAsString = QStringLiteral("en");
    data.marketingInfoOnEmail = true;
    return data;
}

constexpr int elementsOfRegistration = 19;

QString registrationHere(const RegistrationInfoData& data)
{
    return MsgCreator::xmlRegistration(data, QStringLiteral("captcha-9"), {});
}

// The same document; nothing is converted, encoded or formatted here.
QString registrationByStreamWriter(const RegistrationInfoData& data, const QString& password,
                                   const QString& date)
{
    QString xml;
    QXmlStreamWriter writer(&xml);
    const auto element = [&](const char* name, const QString& value) {
        writer.writeTextElement(QLatin1String(name), value);
    };
    writer.writeStartDocument();
    writer.writeStartElement(QStringLiteral("registrationRequest"));
    writer.writeAttribute(QStringLiteral("xmlns"), QLatin1String(RestSchemaNamespace));
    element("captchaId", QStringLiteral("captcha-9"));
    element("imageText", data.captchaText);
    element("username", data.userName);
    writer.writeStartElement(QStringLiteral("userData"));
    element("mobile", data.mobilePhoneNumber);
    element("email", data.emailAddress);
    element("password", password);
    element("passwordQuestion", data.securityQuestion);
    element("passwordAnswer", data.securityAnswer);
    element("language", data.languageAsString);
    element("country", data.countryAsString);
    element("dateOfBirth", date);
    element("firstName", data.firstName);
    element("lastName", data.lastName);
    writer.writeEndElement();
    writer.writeStartElement(QStringLiteral("marketingConsent"));
    element("email", QStringLiteral("true"));
    element("mobile", QStringLiteral("false"));
    element("serviceId", QStringLiteral("OneConsent"));
    writer.writeEndElement();
    writer.writeEndElement();
    return xml;
}

const auto passwordInBase64 = QStringLiteral("Y29ycmVjdCBob3JzZSBiYXR0ZXJ5");
const auto dateOfBirth = QStringLiteral("1952-05-04");

QDomNode classify(const QString& xml)
{
    RequestInfoData info;
    QDomNode root = MsgParser::processXml(info, xml);
    benchmark::DoNotOptimize(info.statusCode);
    return root;
}

void setContentAlone(benchmark::State& state, const QString& xml)
{
    for (auto _ : state) {
        QDomDocument document;
        benchmark::DoNotOptimize(document.setContent(xml));
    }
}

void readProfile(benchmark::State& state, const QString& xml)
{
    for (auto _ : state) {
        QString userName;
        ProfileInfoData profile;
        MsgParser::parseProfileQueryResponseNode(userName, profile, classify(xml));
        benchmark::DoNotOptimize(profile.services.size());
    }
}

void readQuestionList(benchmark::State& state, const QString& xml)
{
    for (auto _ : state) {
        QVariantMap questions;
        MsgParser::parseSecurityQuestionsResponse(questions, classify(xml));
        benchmark::DoNotOptimize(questions.size());
    }
}

void readCaptcha(benchmark::State& state, const QString& xml)
{
    for (auto _ : state) {
        QString id;
        QString type;
        QByteArray image;
        MsgParser::parseCaptchaCreationResponse(id, type, image, classify(xml));
        benchmark::DoNotOptimize(image.size());
    }
}

void writeRegistration(benchmark::State& state)
{
    const RegistrationInfoData data = registration();
    for (auto _ : state)
        benchmark::DoNotOptimize(registrationHere(data).size());
    state.SetItemsProcessed(state.iterations() * elementsOfRegistration);
}

void writeRegistrationByStreamWriter(benchmark::State& state)
{
    const RegistrationInfoData data = registration();
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            registrationByStreamWriter(data, passwordInBase64, dateOfBirth).size());
    }
    state.SetItemsProcessed(state.iterations() * elementsOfRegistration);
}

bool bothWriteTheSameDocument()
{
    const QString ours = registrationHere(registration());
    const QString theirs =
        registrationByStreamWriter(registration(), passwordInBase64, dateOfBirth);
    // Into a QString the writer does not say the encoding; the root element is where both agree.
    const auto fromRoot = [](const QString& xml) {
        return xml.mid(xml.indexOf(QLatin1String("<registrationRequest")));
    };
    return fromRoot(ours) == fromRoot(theirs) &&
           ours.count(QLatin1String("</")) == elementsOfRegistration;
}

bool everythingIsRead()
{
    QString userName;
    ProfileInfoData profile;
    MsgParser::parseProfileQueryResponseNode(userName, profile, classify(profileReply()));
    QVariantMap questions;
    MsgParser::parseSecurityQuestionsResponse(questions, classify(questionListReply()));
    fprintf(stderr, "profile of %d characters with %d services, list of %d with %d questions\n",
            profileReply().size(), profile.services.size(), questionListReply().size(),
            questions.size());
    return userName == QLatin1String("alice.liddell") && profile.services.size() > 5 &&
           questions.size() > 100;
}

} // namespace

int main(int argc, char** argv)
{
    const QString profile = profileReply();
    const QString list = questionListReply();
    const QString captcha = captchaReply();
    benchmark::RegisterBenchmark("profile/setContent alone", setContentAlone, profile);
    benchmark::RegisterBenchmark("profile/classify and read", readProfile, profile);
    benchmark::RegisterBenchmark("question list/setContent alone", setContentAlone, list);
    benchmark::RegisterBenchmark("question list/classify and read", readQuestionList, list);
    benchmark::RegisterBenchmark("captcha of 200 KB/setContent alone", setContentAlone, captcha);
    benchmark::RegisterBenchmark("captcha of 200 KB/classify and read", readCaptcha, captcha);
    benchmark::RegisterBenchmark("registration/QXmlStreamWriter", writeRegistrationByStreamWriter);
    benchmark::RegisterBenchmark("registration/MsgCreator", writeRegistration);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    if (!bothWriteTheSameDocument() || !everythingIsRead()) {
        fprintf(stderr, "The two ways do not do the same work; nothing is measured.\n");
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
