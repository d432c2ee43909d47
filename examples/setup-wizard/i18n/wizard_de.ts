<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>AgainButton</name>
    <message>
        <source>Try again</source>
        <translation>Noch einmal versuchen</translation>
    </message>
</context>
<context>
    <name>CaptchaPage</name>
    <message>
        <source>Are you a person?</source>
        <translation>Sind Sie ein Mensch?</translation>
    </message>
    <message>
        <source>Type what you read in the picture. A press on it brings another.</source>
        <translation>Tippen Sie ab, was im Bild steht. Ein Druck darauf bringt ein anderes.</translation>
    </message>
    <message>
        <source>Characters in the picture</source>
        <translation>Zeichen im Bild</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Weiter</translation>
    </message>
</context>
<context>
    <name>NamePage</name>
    <message>
        <source>Who are you?</source>
        <translation>Wer sind Sie?</translation>
    </message>
    <message>
        <source>User name or e-mail address</source>
        <translation>Benutzername oder E-Mail-Adresse</translation>
    </message>
    <message>
        <source>Looking it up…</source>
        <translation>Wird nachgesehen…</translation>
    </message>
    <message>
        <source>It is free.</source>
        <translation>Er ist frei.</translation>
    </message>
    <message>
        <source>It is taken.</source>
        <translation>Er ist vergeben.</translation>
    </message>
    <message>
        <source>Free are:</source>
        <translation>Frei sind:</translation>
    </message>
    <message>
        <source>Mobile number</source>
        <translation>Mobilnummer</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Weiter</translation>
    </message>
</context>
<context>
    <name>ProfilePage</name>
    <message>
        <source>Your profile</source>
        <translation>Ihr Profil</translation>
    </message>
    <message>
        <source>User name</source>
        <translation>Benutzername</translation>
    </message>
    <message>
        <source>E-mail address</source>
        <translation>E-Mail-Adresse</translation>
    </message>
    <message>
        <source>Mobile number</source>
        <translation>Mobilnummer</translation>
    </message>
    <message>
        <source>Country</source>
        <translation>Land</translation>
    </message>
    <message>
        <source>Security question</source>
        <translation>Sicherheitsfrage</translation>
    </message>
    <message>
        <source>It is for good.</source>
        <translation>Er bleibt für immer.</translation>
    </message>
    <message>
        <source>Take this name</source>
        <translation>Diesen Namen nehmen</translation>
    </message>
    <message>
        <source>Password until now</source>
        <translation>Bisheriges Passwort</translation>
    </message>
    <message>
        <source>New password</source>
        <translation>Neues Passwort</translation>
    </message>
    <message>
        <source>Change the password</source>
        <translation>Passwort ändern</translation>
    </message>
    <message>
        <source>Your answer</source>
        <translation>Ihre Antwort</translation>
    </message>
    <message>
        <source>Change the question</source>
        <translation>Frage ändern</translation>
    </message>
    <message>
        <source>This is your user name now.</source>
        <translation>Das ist jetzt Ihr Benutzername.</translation>
    </message>
    <message>
        <source>The password is changed.</source>
        <translation>Das Passwort ist geändert.</translation>
    </message>
    <message>
        <source>The question is changed.</source>
        <translation>Die Frage ist geändert.</translation>
    </message>
    <message>
        <source>Sign out</source>
        <translation>Abmelden</translation>
    </message>
</context>
<context>
    <name>ProgressPage</name>
    <message>
        <source>One moment</source>
        <translation>Einen Moment</translation>
    </message>
    <message>
        <source>Your account is being set up.</source>
        <translation>Ihr Konto wird eingerichtet.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Try again</source>
        <translation>Noch einmal versuchen</translation>
    </message>
</context>
<context>
    <name>QuestionChoice</name>
    <message>
        <source>Security question</source>
        <translation>Sicherheitsfrage</translation>
    </message>
</context>
<context>
    <name>QuestionPage</name>
    <message>
        <source>Should you forget your password</source>
        <translation>Falls Sie das Passwort vergessen</translation>
    </message>
    <message>
        <source>Choose a question that only you can answer.</source>
        <translation>Wählen Sie eine Frage, die nur Sie beantworten können.</translation>
    </message>
    <message>
        <source>Your answer</source>
        <translation>Ihre Antwort</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Weiter</translation>
    </message>
</context>
<context>
    <name>RecoveryPage</name>
    <message>
        <source>Your code:</source>
        <translation>Ihr Code:</translation>
    </message>
    <message>
        <source>A new password</source>
        <translation>Ein neues Passwort</translation>
    </message>
    <message>
        <source>We have sent you a message with a code.</source>
        <translation>Wir haben Ihnen eine Nachricht mit einem Code gesendet.</translation>
    </message>
    <message>
        <source>We send you a message with a code.</source>
        <translation>Wir senden Ihnen eine Nachricht mit einem Code.</translation>
    </message>
    <message>
        <source>User name, e-mail address or mobile number</source>
        <translation>Benutzername, E-Mail-Adresse oder Mobilnummer</translation>
    </message>
    <message>
        <source>Characters in the picture</source>
        <translation>Zeichen im Bild</translation>
    </message>
    <message>
        <source>Code in the message</source>
        <translation>Code aus der Nachricht</translation>
    </message>
    <message>
        <source>Your answer</source>
        <translation>Ihre Antwort</translation>
    </message>
    <message>
        <source>New password</source>
        <translation>Neues Passwort</translation>
    </message>
    <message>
        <source>Set the password</source>
        <translation>Passwort setzen</translation>
    </message>
    <message>
        <source>Send the message</source>
        <translation>Nachricht senden</translation>
    </message>
</context>
<context>
    <name>SignInPage</name>
    <message>
        <source>Sign in</source>
        <translation>Anmelden</translation>
    </message>
    <message>
        <source>User name, e-mail address or mobile number</source>
        <translation>Benutzername, E-Mail-Adresse oder Mobilnummer</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>I forgot my password</source>
        <translation>Ich habe mein Passwort vergessen</translation>
    </message>
    <message>
        <source>Signing in…</source>
        <translation>Anmeldung läuft…</translation>
    </message>
</context>
<context>
    <name>SuccessPage</name>
    <message>
        <source>Your account is ready</source>
        <translation>Ihr Konto ist fertig</translation>
    </message>
    <message>
        <source>It is on this device now, for all applications that ask for it.</source>
        <translation>Es ist jetzt auf diesem Gerät, für alle Anwendungen, die danach fragen.</translation>
    </message>
    <message>
        <source>Show my profile</source>
        <translation>Mein Profil zeigen</translation>
    </message>
</context>
<context>
    <name>TermsPage</name>
    <message>
        <source>Terms of service</source>
        <translation>Bedingungen</translation>
    </message>
    <message>
        <source>I accept the terms.</source>
        <translation>Ich nehme die Bedingungen an.</translation>
    </message>
    <message>
        <source>Send me news and offers.</source>
        <translation>Neuigkeiten und Angebote zusenden.</translation>
    </message>
    <message>
        <source>With the account you agree to be sent news and offers.</source>
        <translation>Mit dem Konto stimmen Sie Neuigkeiten und Angeboten zu.</translation>
    </message>
    <message>
        <source>You can take this back at any time.</source>
        <translation>Sie können das jederzeit zurücknehmen.</translation>
    </message>
    <message>
        <source>Create the account</source>
        <translation>Konto anlegen</translation>
    </message>
</context>
<context>
    <name>WelcomePage</name>
    <message>
        <source>Welcome</source>
        <translation>Willkommen</translation>
    </message>
    <message>
        <source>With an account you find your things again on every device.</source>
        <translation>Mit einem Konto finden Sie Ihre Dinge auf jedem Gerät wieder.</translation>
    </message>
    <message>
        <source>Country of this device: %1</source>
        <translation>Land dieses Geräts: %1</translation>
    </message>
    <message>
        <source>An account is prepared for your number %1.</source>
        <translation>Für Ihre Nummer %1 ist ein Konto vorbereitet.</translation>
    </message>
    <message>
        <source>Create an account</source>
        <translation>Konto anlegen</translation>
    </message>
    <message>
        <source>Sign in</source>
        <translation>Anmelden</translation>
    </message>
</context>
<context>
    <name>WizardPage</name>
    <message>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
</context>
</TS>
