<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fi" sourcelanguage="en">
<context>
    <name>AgainButton</name>
    <message>
        <source>Try again</source>
        <translation>Yritä uudelleen</translation>
    </message>
</context>
<context>
    <name>CaptchaPage</name>
    <message>
        <source>Are you a person?</source>
        <translation>Oletko ihminen?</translation>
    </message>
    <message>
        <source>Type what you read in the picture. A press on it brings another.</source>
        <translation>Kirjoita, mitä kuvassa lukee. Kuvaa painamalla saat toisen.</translation>
    </message>
    <message>
        <source>Characters in the picture</source>
        <translation>Kuvan merkit</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Seuraava</translation>
    </message>
</context>
<context>
    <name>NamePage</name>
    <message>
        <source>Who are you?</source>
        <translation>Kuka olet?</translation>
    </message>
    <message>
        <source>User name or e-mail address</source>
        <translation>Käyttäjätunnus tai sähköpostiosoite</translation>
    </message>
    <message>
        <source>Looking it up…</source>
        <translation>Tarkistetaan…</translation>
    </message>
    <message>
        <source>It is free.</source>
        <translation>Se on vapaa.</translation>
    </message>
    <message>
        <source>It is taken.</source>
        <translation>Se on varattu.</translation>
    </message>
    <message>
        <source>Free are:</source>
        <translation>Vapaita ovat:</translation>
    </message>
    <message>
        <source>Mobile number</source>
        <translation>Matkapuhelinnumero</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Salasana</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Seuraava</translation>
    </message>
</context>
<context>
    <name>ProfilePage</name>
    <message>
        <source>Your profile</source>
        <translation>Profiilisi</translation>
    </message>
    <message>
        <source>User name</source>
        <translation>Käyttäjätunnus</translation>
    </message>
    <message>
        <source>E-mail address</source>
        <translation>Sähköpostiosoite</translation>
    </message>
    <message>
        <source>Mobile number</source>
        <translation>Matkapuhelinnumero</translation>
    </message>
    <message>
        <source>Country</source>
        <translation>Maa</translation>
    </message>
    <message>
        <source>Security question</source>
        <translation>Turvakysymys</translation>
    </message>
    <message>
        <source>It is for good.</source>
        <translation>Se on pysyvä.</translation>
    </message>
    <message>
        <source>Take this name</source>
        <translation>Ota tämä nimi</translation>
    </message>
    <message>
        <source>Password until now</source>
        <translation>Nykyinen salasana</translation>
    </message>
    <message>
        <source>New password</source>
        <translation>Uusi salasana</translation>
    </message>
    <message>
        <source>Change the password</source>
        <translation>Vaihda salasana</translation>
    </message>
    <message>
        <source>Your answer</source>
        <translation>Vastauksesi</translation>
    </message>
    <message>
        <source>Change the question</source>
        <translation>Vaihda kysymys</translation>
    </message>
    <message>
        <source>This is your user name now.</source>
        <translation>Tämä on nyt käyttäjätunnuksesi.</translation>
    </message>
    <message>
        <source>The password is changed.</source>
        <translation>Salasana on vaihdettu.</translation>
    </message>
    <message>
        <source>The question is changed.</source>
        <translation>Kysymys on vaihdettu.</translation>
    </message>
    <message>
        <source>Sign out</source>
        <translation>Kirjaudu ulos</translation>
    </message>
</context>
<context>
    <name>ProgressPage</name>
    <message>
        <source>One moment</source>
        <translation>Hetkinen</translation>
    </message>
    <message>
        <source>Your account is being set up.</source>
        <translation>Tiliäsi otetaan käyttöön.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Peruuta</translation>
    </message>
    <message>
        <source>Try again</source>
        <translation>Yritä uudelleen</translation>
    </message>
</context>
<context>
    <name>QuestionChoice</name>
    <message>
        <source>Security question</source>
        <translation>Turvakysymys</translation>
    </message>
</context>
<context>
    <name>QuestionPage</name>
    <message>
        <source>Should you forget your password</source>
        <translation>Jos unohdat salasanasi</translation>
    </message>
    <message>
        <source>Choose a question that only you can answer.</source>
        <translation>Valitse kysymys, johon vain sinä osaat vastata.</translation>
    </message>
    <message>
        <source>Your answer</source>
        <translation>Vastauksesi</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Seuraava</translation>
    </message>
</context>
<context>
    <name>RecoveryPage</name>
    <message>
        <source>Your code:</source>
        <translation>Koodisi:</translation>
    </message>
    <message>
        <source>A new password</source>
        <translation>Uusi salasana</translation>
    </message>
    <message>
        <source>We have sent you a message with a code.</source>
        <translation>Lähetimme sinulle viestin, jossa on koodi.</translation>
    </message>
    <message>
        <source>We send you a message with a code.</source>
        <translation>Lähetämme sinulle viestin, jossa on koodi.</translation>
    </message>
    <message>
        <source>User name, e-mail address or mobile number</source>
        <translation>Käyttäjätunnus, sähköpostiosoite tai matkapuhelinnumero</translation>
    </message>
    <message>
        <source>Characters in the picture</source>
        <translation>Kuvan merkit</translation>
    </message>
    <message>
        <source>Code in the message</source>
        <translation>Viestissä oleva koodi</translation>
    </message>
    <message>
        <source>Your answer</source>
        <translation>Vastauksesi</translation>
    </message>
    <message>
        <source>New password</source>
        <translation>Uusi salasana</translation>
    </message>
    <message>
        <source>Set the password</source>
        <translation>Aseta salasana</translation>
    </message>
    <message>
        <source>Send the message</source>
        <translation>Lähetä viesti</translation>
    </message>
</context>
<context>
    <name>SignInPage</name>
    <message>
        <source>Sign in</source>
        <translation>Kirjaudu</translation>
    </message>
    <message>
        <source>User name, e-mail address or mobile number</source>
        <translation>Käyttäjätunnus, sähköpostiosoite tai matkapuhelinnumero</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Salasana</translation>
    </message>
    <message>
        <source>I forgot my password</source>
        <translation>Unohdin salasanani</translation>
    </message>
    <message>
        <source>Signing in…</source>
        <translation>Kirjaudutaan…</translation>
    </message>
</context>
<context>
    <name>SuccessPage</name>
    <message>
        <source>Your account is ready</source>
        <translation>Tilisi on valmis</translation>
    </message>
    <message>
        <source>It is on this device now, for all applications that ask for it.</source>
        <translation>Se on nyt tällä laitteella kaikille sovelluksille, jotka sitä pyytävät.</translation>
    </message>
    <message>
        <source>Show my profile</source>
        <translation>Näytä profiilini</translation>
    </message>
</context>
<context>
    <name>TermsPage</name>
    <message>
        <source>Terms of service</source>
        <translation>Käyttöehdot</translation>
    </message>
    <message>
        <source>I accept the terms.</source>
        <translation>Hyväksyn ehdot.</translation>
    </message>
    <message>
        <source>Send me news and offers.</source>
        <translation>Lähetä minulle uutisia ja tarjouksia.</translation>
    </message>
    <message>
        <source>With the account you agree to be sent news and offers.</source>
        <translation>Tilin myötä suostut saamaan uutisia ja tarjouksia.</translation>
    </message>
    <message>
        <source>You can take this back at any time.</source>
        <translation>Voit perua tämän milloin tahansa.</translation>
    </message>
    <message>
        <source>Create the account</source>
        <translation>Luo tili</translation>
    </message>
</context>
<context>
    <name>WelcomePage</name>
    <message>
        <source>Welcome</source>
        <translation>Tervetuloa</translation>
    </message>
    <message>
        <source>With an account you find your things again on every device.</source>
        <translation>Tilin avulla löydät asiasi joka laitteelta.</translation>
    </message>
    <message>
        <source>Country of this device: %1</source>
        <translation>Tämän laitteen maa: %1</translation>
    </message>
    <message>
        <source>An account is prepared for your number %1.</source>
        <translation>Numerollesi %1 on valmisteltu tili.</translation>
    </message>
    <message>
        <source>Create an account</source>
        <translation>Luo tili</translation>
    </message>
    <message>
        <source>Sign in</source>
        <translation>Kirjaudu</translation>
    </message>
</context>
<context>
    <name>WizardPage</name>
    <message>
        <source>Back</source>
        <translation>Takaisin</translation>
    </message>
</context>
</TS>
