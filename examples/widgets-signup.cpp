// SPDX-License-Identifier: LGPL-2.1-or-later
// A sign-up window with Qt Widgets: says whether the user name is free while it is typed, and puts
// each complaint below the entry that it is about. Key and secret come from the environment.
#include <kelaccount/client.h>

#include <QApplication>
#include <QDialog>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>

using namespace KelAccount;

namespace {

class SignUpWindow : public QDialog
{
public:
    SignUpWindow()
    {
        setWindowTitle(tr("Make an account"));
        // A failure names the value that it is about, and so do the entries.
        addEntry(mName, "userName", tr("&User name"));
        addEntry(mAddress, "emailAddress", tr("&E-mail address"));
        addEntry(mPassword, "password", tr("&Password"));
        mForm->addRow(mOther, mPicture);
        addEntry(mCharacters, "captchaText", tr("&Characters above"));
        mForm->addRow(mRegister);
        mForm->addRow(mOutcome);
        mPassword->setEchoMode(QLineEdit::Password);
        mOutcome->setTextFormat(Qt::PlainText);
        mOutcome->setWordWrap(true);
        mPicture->setAccessibleName(tr("Picture with characters to enter"));
        mOther->setAutoDefault(false);
        mRegister->setDefault(true); // the Enter key

        connect(mName, &QLineEdit::textEdited, this, [this] { checkName(); });
        connect(mOther, &QPushButton::clicked, this, [this] { fetchPicture(); });
        connect(mRegister, &QPushButton::clicked, this, [this] { registerUser(); });
        mClient.initialize(qEnvironmentVariable("KELACCOUNT_CONSUMER_KEY"),
                           qEnvironmentVariable("KELACCOUNT_CONSUMER_SECRET"), Server::Production,
                           QStringLiteral("example"));
        fetchPicture();
    }

private:
    void addEntry(QLineEdit* entry, const char* name, const QString& label)
    {
        auto* const note = new QLabel(this);
        note->setTextFormat(Qt::PlainText);
        note->setWordWrap(true);
        entry->setObjectName(QString::fromLatin1(name));
        mForm->addRow(label, entry);
        mForm->addRow(QString(), note);
        mNotes.insert(entry, note);
    }

    // What is seen is read out, too.
    void say(QLineEdit* entry, const QString& text)
    {
        mNotes.value(entry, mOutcome)->setText(text);
        if (entry)
            entry->setAccessibleDescription(text);
        resize(width(), std::max(height(), heightForWidth(width())));
    }

    void checkName()
    {
        say(mName, QString());
        mNameCheck.cancel();
        if (mName->text().isEmpty())
            return;
        mNameCheck = mClient.isUserIdAvailable(mName->text(), Debounce{pause});
        const auto answered = [this](const Availability& name) {
            say(mName, name.available
                           ? tr("This name is free.")
                           : tr("Taken. Free are: %1").arg(name.suggestions.join(tr(", "))));
        };
        mNameCheck.then(this, answered, [this](const Failure& why) { say(mName, why.text); });
    }

    void fetchPicture()
    {
        mCharacters->clear();
        const auto fetched = [this](const Captcha& captcha) {
            mPicture->setPixmap(QPixmap::fromImage(QImage::fromData(captcha.bytes)));
            mMe.captchaId = captcha.id;
        };
        mClient.retrieveCaptchaImage(240, 80, Latest)
            .then(this, fetched, [this](const Failure& why) { mPicture->setText(why.text); });
    }

    void registerUser()
    {
        mMe.userName = mName->text();
        mMe.emailAddress = mAddress->text();
        mMe.password = mPassword->text();
        mMe.captchaText = mCharacters->text();
        mNameCheck.cancel();
        QLineEdit* missing = nullptr;
        for (QLineEdit* const entry : {mCharacters, mPassword, mAddress, mName}) {
            const bool isEmpty = entry->text().isEmpty();
            say(entry, isEmpty ? tr("Please fill this in.") : QString());
            missing = isEmpty ? entry : missing;
        }
        if (missing)
            return missing->setFocus();
        say(nullptr, tr("The account is being made..."));
        mRegister->setEnabled(false);
        const auto failed = [this](const Failure& why) {
            mRegister->setEnabled(true);
            fetchPicture(); // each can be tried once
            say(nullptr, QString());
            auto* const entry = why.field.isEmpty() ? nullptr : findChild<QLineEdit*>(why.field);
            say(entry, why.text);
            if (entry)
                entry->setFocus();
        };
        const auto registered = [this] { say(nullptr, tr("Welcome, %1!").arg(mMe.userName)); };
        mClient.registerAccount(mMe).then(this, registered, failed);
    }

    static constexpr std::chrono::milliseconds pause{250};
    QFormLayout* const mForm = new QFormLayout(this);
    QLineEdit* const mName = new QLineEdit;
    QLineEdit* const mAddress = new QLineEdit;
    QLineEdit* const mPassword = new QLineEdit;
    QLineEdit* const mCharacters = new QLineEdit;
    QLabel* const mPicture = new QLabel;
    QLabel* const mOutcome = new QLabel;
    QPushButton* const mOther = new QPushButton(tr("&Another picture"));
    QPushButton* const mRegister = new QPushButton(tr("&Register"));
    QHash<QLineEdit*, QLabel*> mNotes;
    Registration mMe;
    Call<Availability> mNameCheck;
    Client mClient;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    SignUpWindow window;
    window.show();
    return QApplication::exec();
}
