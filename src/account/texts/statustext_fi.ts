<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fi" sourcelanguage="en">
<context>
    <name>KelAccount::StatusText</name>
    <message>
        <source>The account service did not understand the request of this application. Updating the application may help.</source>
        <translation>Tilipalvelu ei ymmärtänyt tämän sovelluksen pyyntöä. Sovelluksen päivittäminen voi auttaa.</translation>
    </message>
    <message>
        <source>The account service could not find what was asked for.</source>
        <translation>Tilipalvelu ei löytänyt pyydettyä tietoa.</translation>
    </message>
    <message>
        <source>The account service did not accept the sign-in. Please check user name and password.</source>
        <translation>Tilipalvelu ei hyväksynyt kirjautumista. Tarkista käyttäjätunnus ja salasana.</translation>
    </message>
    <message>
        <source>The characters in the picture were not entered correctly. Please try again with a new picture.</source>
        <translation>Kuvan merkkejä ei kirjoitettu oikein. Yritä uudelleen uudella kuvalla.</translation>
    </message>
    <message>
        <source>The account service did not accept this device.</source>
        <translation>Tilipalvelu ei hyväksynyt tätä laitetta.</translation>
    </message>
    <message>
        <source>This application did not identify itself to the account service.</source>
        <translation>Tämä sovellus ei tunnistautunut tilipalvelulle.</translation>
    </message>
    <message>
        <source>This application is not allowed to use your account.</source>
        <translation>Tällä sovelluksella ei ole lupaa käyttää tiliäsi.</translation>
    </message>
    <message>
        <source>The sign-in service of this device has a problem. Please try again.</source>
        <translation>Laitteen kirjautumispalvelussa on ongelma. Yritä uudelleen.</translation>
    </message>
    <message>
        <source>The sign-in service of this device cannot be reached. Please try again.</source>
        <translation>Laitteen kirjautumispalveluun ei saada yhteyttä. Yritä uudelleen.</translation>
    </message>
    <message>
        <source>Something unexpected happened. Please try again.</source>
        <translation>Tapahtui jotain odottamatonta. Yritä uudelleen.</translation>
    </message>
    <message>
        <source>Done.</source>
        <translation>Valmis.</translation>
    </message>
    <message>
        <source>The account service cannot be reached right now. Please try again later.</source>
        <translation>Tilipalveluun ei saada nyt yhteyttä. Yritä myöhemmin uudelleen.</translation>
    </message>
    <message>
        <source>The connection to the account service was lost. Please try again.</source>
        <translation>Yhteys tilipalveluun katkesi. Yritä uudelleen.</translation>
    </message>
    <message>
        <source>The account service was not found on the network. Please check your internet connection.</source>
        <translation>Tilipalvelua ei löytynyt verkosta. Tarkista internetyhteytesi.</translation>
    </message>
    <message>
        <source>The account service did not answer in time. Please try again.</source>
        <translation>Tilipalvelu ei vastannut ajoissa. Yritä uudelleen.</translation>
    </message>
    <message>
        <source>The request was cancelled.</source>
        <translation>Toiminto peruutettiin.</translation>
    </message>
    <message>
        <source>No secure connection to the account service could be made. Please check date and time of this device, or try another network.</source>
        <translation>Suojattua yhteyttä tilipalveluun ei voitu muodostaa. Tarkista laitteen päivämäärä ja kellonaika tai kokeile toista verkkoa.</translation>
    </message>
    <message>
        <source>The network is unavailable for the moment. Please try again.</source>
        <translation>Verkko ei ole juuri nyt käytettävissä. Yritä uudelleen.</translation>
    </message>
    <message>
        <source>The proxy of this network refused the connection. Please check the network settings.</source>
        <translation>Verkon välityspalvelin hylkäsi yhteyden. Tarkista verkkoasetukset.</translation>
    </message>
    <message>
        <source>The proxy of this network ended the connection. Please try again.</source>
        <translation>Verkon välityspalvelin katkaisi yhteyden. Yritä uudelleen.</translation>
    </message>
    <message>
        <source>The proxy of this network was not found. Please check the network settings.</source>
        <translation>Verkon välityspalvelinta ei löytynyt. Tarkista verkkoasetukset.</translation>
    </message>
    <message>
        <source>The proxy of this network did not answer in time. Please try again.</source>
        <translation>Verkon välityspalvelin ei vastannut ajoissa. Yritä uudelleen.</translation>
    </message>
    <message>
        <source>The proxy of this network asks for a user name and a password. Please check the network settings.</source>
        <translation>Verkon välityspalvelin vaatii käyttäjätunnuksen ja salasanan. Tarkista verkkoasetukset.</translation>
    </message>
    <message>
        <source>The account service denied access.</source>
        <translation>Tilipalvelu esti pääsyn.</translation>
    </message>
    <message>
        <source>The account service does not allow this operation.</source>
        <translation>Tilipalvelu ei salli tätä toimintoa.</translation>
    </message>
    <message>
        <source>The account service requires you to sign in.</source>
        <translation>Tilipalvelu edellyttää, että kirjaudut sisään.</translation>
    </message>
    <message>
        <source>Sending was interrupted. Please try again.</source>
        <translation>Lähetys keskeytyi. Yritä uudelleen.</translation>
    </message>
    <message>
        <source>There is a problem with the network. Please check your internet connection and try again.</source>
        <translation>Verkkoyhteydessä on ongelma. Tarkista internetyhteytesi ja yritä uudelleen.</translation>
    </message>
    <message>
        <source>There is a problem with the proxy of this network. Please check the network settings.</source>
        <translation>Verkon välityspalvelimessa on ongelma. Tarkista verkkoasetukset.</translation>
    </message>
    <message>
        <source>The account service could not accept the request. Please try again later.</source>
        <translation>Tilipalvelu ei voinut ottaa pyyntöä vastaan. Yritä myöhemmin uudelleen.</translation>
    </message>
    <message>
        <source>The answer of the account service could not be read. Please try again later.</source>
        <translation>Tilipalvelun vastausta ei voitu lukea. Yritä myöhemmin uudelleen.</translation>
    </message>
    <message>
        <source>You are no longer signed in. Please sign in again.</source>
        <translation>Et ole enää kirjautuneena. Kirjaudu uudelleen sisään.</translation>
    </message>
    <message>
        <source>The account service has a problem. Please try again later.</source>
        <translation>Tilipalvelussa on ongelma. Yritä myöhemmin uudelleen.</translation>
    </message>
    <message>
        <source>The account service could not do this. Please try again later.</source>
        <translation>Tilipalvelu ei voinut suorittaa toimintoa. Yritä myöhemmin uudelleen.</translation>
    </message>
    <message>
        <source>An account has already been prepared for this user.</source>
        <translation>Tälle käyttäjälle on jo valmisteltu tili.</translation>
    </message>
    <message>
        <source>This account is locked.</source>
        <translation>Tämä tili on lukittu.</translation>
    </message>
    <message>
        <source>Your contact details could not be changed. Please check them.</source>
        <translation>Yhteystietojasi ei voitu muuttaa. Tarkista ne.</translation>
    </message>
    <message>
        <source>This user name is reserved. Please choose another one.</source>
        <translation>Tämä käyttäjätunnus on varattu. Valitse toinen.</translation>
    </message>
    <message>
        <source>This e-mail address is reserved. Please enter another one.</source>
        <translation>Tämä sähköpostiosoite on varattu. Anna toinen osoite.</translation>
    </message>
    <message>
        <source>This e-mail address or phone number cannot be used. Please enter another one.</source>
        <translation>Tätä sähköpostiosoitetta tai puhelinnumeroa ei voi käyttää. Anna toinen.</translation>
    </message>
    <message>
        <source>This user does not exist. Please check what you entered.</source>
        <translation>Tällaista käyttäjää ei ole. Tarkista, mitä kirjoitit.</translation>
    </message>
    <message>
        <source>The e-mail could not be sent. Please try again later.</source>
        <translation>Sähköpostia ei voitu lähettää. Yritä myöhemmin uudelleen.</translation>
    </message>
    <message>
        <source>The text message could not be sent. Please try again later.</source>
        <translation>Tekstiviestiä ei voitu lähettää. Yritä myöhemmin uudelleen.</translation>
    </message>
    <message>
        <source>One of your entries does not have the right form. Please check your entries.</source>
        <translation>Jokin antamistasi tiedoista ei ole oikeassa muodossa. Tarkista tiedot.</translation>
    </message>
    <message>
        <source>Because of your age, a parent has to agree first.</source>
        <translation>Ikäsi vuoksi tarvitaan ensin huoltajan suostumus.</translation>
    </message>
    <message>
        <source>This is not allowed at your age.</source>
        <translation>Tämä ei ole sallittua ikäisellesi.</translation>
    </message>
    <message>
        <source>You are too young for this.</source>
        <translation>Olet liian nuori tähän.</translation>
    </message>
    <message>
        <source>The account service does not allow this change.</source>
        <translation>Tilipalvelu ei salli tätä muutosta.</translation>
    </message>
    <message>
        <source>You are not signed in. Please sign in.</source>
        <translation>Et ole kirjautuneena. Kirjaudu sisään.</translation>
    </message>
    <message>
        <source>Signing in was cancelled.</source>
        <translation>Kirjautuminen peruutettiin.</translation>
    </message>
    <message>
        <source>The terms of use could not be fetched. Please try again later.</source>
        <translation>Käyttöehtoja ei voitu hakea. Yritä myöhemmin uudelleen.</translation>
    </message>
    <message>
        <source>Your account already has a user name.</source>
        <translation>Tililläsi on jo käyttäjätunnus.</translation>
    </message>
    <message>
        <source>Please accept the terms of use first.</source>
        <translation>Hyväksy ensin käyttöehdot.</translation>
    </message>
    <message>
        <source>Your acceptance of the terms of use could not be saved. Please try again later.</source>
        <translation>Käyttöehtojen hyväksymistä ei voitu tallentaa. Yritä myöhemmin uudelleen.</translation>
    </message>
    <message>
        <source>Please enter the characters shown in the picture.</source>
        <translation>Kirjoita kuvassa näkyvät merkit.</translation>
    </message>
    <message>
        <source>You said that you have forgotten your password. Please set a new one.</source>
        <translation>Ilmoitit unohtaneesi salasanasi. Aseta uusi salasana.</translation>
    </message>
    <message>
        <source>The sign-in window could not be shown. Please try again.</source>
        <translation>Kirjautumisikkunaa ei voitu näyttää. Yritä uudelleen.</translation>
    </message>
    <message>
        <source>The old password is wrong. Please enter it again.</source>
        <translation>Vanha salasana on väärä. Anna se uudelleen.</translation>
    </message>
    <message>
        <source>Please enter your password.</source>
        <translation>Anna salasanasi.</translation>
    </message>
    <message>
        <source>No account is set up on this device. Please sign in first.</source>
        <translation>Tässä laitteessa ei ole tiliä. Kirjaudu ensin sisään.</translation>
    </message>
    <message>
        <source>Something else is still being done with your account. Please try again in a moment.</source>
        <translation>Tililläsi on vielä toinen toiminto kesken. Yritä hetken kuluttua uudelleen.</translation>
    </message>
    <message>
        <source>Your account is not completely set up. Please sign in again.</source>
        <translation>Tilisi käyttöönotto on kesken. Kirjaudu uudelleen sisään.</translation>
    </message>
    <message>
        <source>Choosing your user name was not finished. Please choose it again.</source>
        <translation>Käyttäjätunnuksen valinta jäi kesken. Valitse se uudelleen.</translation>
    </message>
    <message>
        <source>The account on this device is switched off.</source>
        <translation>Laitteen tili on poistettu käytöstä.</translation>
    </message>
    <message>
        <source>Your sign-in details could not be saved on this device. Please try again.</source>
        <translation>Kirjautumistietojasi ei voitu tallentaa tähän laitteeseen. Yritä uudelleen.</translation>
    </message>
    <message>
        <source>No sign-in details are saved on this device. Please sign in.</source>
        <translation>Tähän laitteeseen ei ole tallennettu kirjautumistietoja. Kirjaudu sisään.</translation>
    </message>
    <message>
        <source>This application has not been prepared for the account service.</source>
        <translation>Tätä sovellusta ei ole valmisteltu käyttämään tilipalvelua.</translation>
    </message>
    <message>
        <source>There is already an account on this device.</source>
        <translation>Tässä laitteessa on jo tili.</translation>
    </message>
    <message>
        <source>The account on this device is just being set up or removed. Please wait until that is finished.</source>
        <translation>Laitteen tiliä otetaan parhaillaan käyttöön tai poistetaan. Odota, kunnes toiminto on valmis.</translation>
    </message>
    <message>
        <source>The account could not be set up on this device or removed from it. Please try signing in or out again.</source>
        <translation>Tiliä ei voitu ottaa käyttöön tässä laitteessa tai poistaa siitä. Yritä kirjautua uudelleen sisään tai ulos.</translation>
    </message>
    <message>
        <source>The country of this device is not known.</source>
        <translation>Laitteen maata ei tiedetä.</translation>
    </message>
    <message>
        <source>This is not possible at the moment.</source>
        <translation>Tämä ei ole juuri nyt mahdollista.</translation>
    </message>
    <message>
        <source>An entry is missing or not valid. Please check your entries.</source>
        <translation>Jokin tieto puuttuu tai on virheellinen. Tarkista antamasi tiedot.</translation>
    </message>
    <message>
        <source>The request could not be sent.</source>
        <translation>Pyyntöä ei voitu lähettää.</translation>
    </message>
</context>
</TS>
