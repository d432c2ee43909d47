<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>KelAccount::StatusText</name>
    <message>
        <source>The account service did not understand the request of this application. Updating the application may help.</source>
        <translation>Der Kontodienst hat die Anfrage dieser Anwendung nicht verstanden. Möglicherweise hilft eine Aktualisierung der Anwendung.</translation>
    </message>
    <message>
        <source>The account service could not find what was asked for.</source>
        <translation>Der Kontodienst hat das Gesuchte nicht gefunden.</translation>
    </message>
    <message>
        <source>The account service did not accept the sign-in. Please check user name and password.</source>
        <translation>Der Kontodienst hat die Anmeldung nicht angenommen. Bitte prüfen Sie Benutzernamen und Passwort.</translation>
    </message>
    <message>
        <source>The characters in the picture were not entered correctly. Please try again with a new picture.</source>
        <translation>Die Zeichen im Bild wurden nicht richtig eingegeben. Bitte versuchen Sie es mit einem neuen Bild noch einmal.</translation>
    </message>
    <message>
        <source>The account service did not accept this device.</source>
        <translation>Der Kontodienst hat dieses Gerät nicht akzeptiert.</translation>
    </message>
    <message>
        <source>This application did not identify itself to the account service.</source>
        <translation>Diese Anwendung hat sich beim Kontodienst nicht ausgewiesen.</translation>
    </message>
    <message>
        <source>This application is not allowed to use your account.</source>
        <translation>Diese Anwendung darf Ihr Konto nicht verwenden.</translation>
    </message>
    <message>
        <source>The sign-in service of this device has a problem. Please try again.</source>
        <translation>Der Anmeldedienst dieses Geräts hat ein Problem. Bitte versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>The sign-in service of this device cannot be reached. Please try again.</source>
        <translation>Der Anmeldedienst dieses Geräts ist nicht erreichbar. Bitte versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>Something unexpected happened. Please try again.</source>
        <translation>Etwas Unerwartetes ist geschehen. Bitte versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>Done.</source>
        <translation>Erledigt.</translation>
    </message>
    <message>
        <source>The account service cannot be reached right now. Please try again later.</source>
        <translation>Der Kontodienst ist zurzeit nicht erreichbar. Bitte versuchen Sie es später noch einmal.</translation>
    </message>
    <message>
        <source>The connection to the account service was lost. Please try again.</source>
        <translation>Die Verbindung zum Kontodienst ist abgebrochen. Bitte versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>The account service was not found on the network. Please check your internet connection.</source>
        <translation>Der Kontodienst wurde im Netz nicht gefunden. Bitte prüfen Sie Ihre Internetverbindung.</translation>
    </message>
    <message>
        <source>The account service did not answer in time. Please try again.</source>
        <translation>Der Kontodienst hat nicht rechtzeitig geantwortet. Bitte versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>The request was cancelled.</source>
        <translation>Der Vorgang wurde abgebrochen.</translation>
    </message>
    <message>
        <source>No secure connection to the account service could be made. Please check date and time of this device, or try another network.</source>
        <translation>Es war keine sichere Verbindung zum Kontodienst möglich. Bitte prüfen Sie Datum und Uhrzeit dieses Geräts oder versuchen Sie es in einem anderen Netz.</translation>
    </message>
    <message>
        <source>The network is unavailable for the moment. Please try again.</source>
        <translation>Das Netz ist gerade nicht verfügbar. Bitte versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>The proxy of this network refused the connection. Please check the network settings.</source>
        <translation>Der Proxy dieses Netzes hat die Verbindung abgelehnt. Bitte prüfen Sie die Netzwerkeinstellungen.</translation>
    </message>
    <message>
        <source>The proxy of this network ended the connection. Please try again.</source>
        <translation>Der Proxy dieses Netzes hat die Verbindung beendet. Bitte versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>The proxy of this network was not found. Please check the network settings.</source>
        <translation>Der Proxy dieses Netzes wurde nicht gefunden. Bitte prüfen Sie die Netzwerkeinstellungen.</translation>
    </message>
    <message>
        <source>The proxy of this network did not answer in time. Please try again.</source>
        <translation>Der Proxy dieses Netzes hat nicht rechtzeitig geantwortet. Bitte versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>The proxy of this network asks for a user name and a password. Please check the network settings.</source>
        <translation>Der Proxy dieses Netzes verlangt einen Benutzernamen und ein Passwort. Bitte prüfen Sie die Netzwerkeinstellungen.</translation>
    </message>
    <message>
        <source>The account service denied access.</source>
        <translation>Der Kontodienst hat den Zugriff verweigert.</translation>
    </message>
    <message>
        <source>The account service does not allow this operation.</source>
        <translation>Der Kontodienst lässt diesen Vorgang nicht zu.</translation>
    </message>
    <message>
        <source>The account service requires you to sign in.</source>
        <translation>Der Kontodienst verlangt, dass Sie sich anmelden.</translation>
    </message>
    <message>
        <source>Sending was interrupted. Please try again.</source>
        <translation>Das Senden wurde unterbrochen. Bitte versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>There is a problem with the network. Please check your internet connection and try again.</source>
        <translation>Es gibt ein Problem mit dem Netz. Bitte prüfen Sie Ihre Internetverbindung und versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>There is a problem with the proxy of this network. Please check the network settings.</source>
        <translation>Es gibt ein Problem mit dem Proxy dieses Netzes. Bitte prüfen Sie die Netzwerkeinstellungen.</translation>
    </message>
    <message>
        <source>The account service could not accept the request. Please try again later.</source>
        <translation>Der Kontodienst konnte die Anfrage nicht annehmen. Bitte versuchen Sie es später noch einmal.</translation>
    </message>
    <message>
        <source>The answer of the account service could not be read. Please try again later.</source>
        <translation>Die Antwort des Kontodienstes war nicht lesbar. Bitte versuchen Sie es später noch einmal.</translation>
    </message>
    <message>
        <source>You are no longer signed in. Please sign in again.</source>
        <translation>Sie sind nicht mehr angemeldet. Bitte melden Sie sich erneut an.</translation>
    </message>
    <message>
        <source>The account service has a problem. Please try again later.</source>
        <translation>Beim Kontodienst ist ein Fehler aufgetreten. Bitte versuchen Sie es später noch einmal.</translation>
    </message>
    <message>
        <source>The account service could not do this. Please try again later.</source>
        <translation>Der Kontodienst konnte dies nicht ausführen. Bitte versuchen Sie es später noch einmal.</translation>
    </message>
    <message>
        <source>An account has already been prepared for this user.</source>
        <translation>Für diesen Benutzer ist bereits ein Konto vorbereitet.</translation>
    </message>
    <message>
        <source>This account is locked.</source>
        <translation>Dieses Konto ist gesperrt.</translation>
    </message>
    <message>
        <source>Your contact details could not be changed. Please check them.</source>
        <translation>Ihre Kontaktdaten konnten nicht geändert werden. Bitte prüfen Sie sie.</translation>
    </message>
    <message>
        <source>This user name is reserved. Please choose another one.</source>
        <translation>Dieser Benutzername ist reserviert. Bitte wählen Sie einen anderen.</translation>
    </message>
    <message>
        <source>This e-mail address is reserved. Please enter another one.</source>
        <translation>Diese E-Mail-Adresse ist reserviert. Bitte geben Sie eine andere ein.</translation>
    </message>
    <message>
        <source>This e-mail address or phone number cannot be used. Please enter another one.</source>
        <translation>Diese E-Mail-Adresse oder Telefonnummer kann nicht verwendet werden. Bitte geben Sie eine andere ein.</translation>
    </message>
    <message>
        <source>This user does not exist. Please check what you entered.</source>
        <translation>Diesen Benutzer gibt es nicht. Bitte prüfen Sie Ihre Eingabe.</translation>
    </message>
    <message>
        <source>The e-mail could not be sent. Please try again later.</source>
        <translation>Die E-Mail konnte nicht gesendet werden. Bitte versuchen Sie es später noch einmal.</translation>
    </message>
    <message>
        <source>The text message could not be sent. Please try again later.</source>
        <translation>Die SMS konnte nicht gesendet werden. Bitte versuchen Sie es später noch einmal.</translation>
    </message>
    <message>
        <source>One of your entries does not have the right form. Please check your entries.</source>
        <translation>Eine Ihrer Angaben hat nicht die richtige Form. Bitte prüfen Sie Ihre Angaben.</translation>
    </message>
    <message>
        <source>Because of your age, a parent has to agree first.</source>
        <translation>Aufgrund Ihres Alters muss zuerst ein Elternteil zustimmen.</translation>
    </message>
    <message>
        <source>This is not allowed at your age.</source>
        <translation>Dies ist in Ihrem Alter nicht erlaubt.</translation>
    </message>
    <message>
        <source>You are too young for this.</source>
        <translation>Sie sind hierfür zu jung.</translation>
    </message>
    <message>
        <source>The account service does not allow this change.</source>
        <translation>Der Kontodienst lässt diese Änderung nicht zu.</translation>
    </message>
    <message>
        <source>You are not signed in. Please sign in.</source>
        <translation>Sie sind nicht angemeldet. Bitte melden Sie sich an.</translation>
    </message>
    <message>
        <source>Signing in was cancelled.</source>
        <translation>Die Anmeldung wurde abgebrochen.</translation>
    </message>
    <message>
        <source>The terms of use could not be fetched. Please try again later.</source>
        <translation>Die Nutzungsbedingungen konnten nicht abgerufen werden. Bitte versuchen Sie es später noch einmal.</translation>
    </message>
    <message>
        <source>Your account already has a user name.</source>
        <translation>Ihr Konto hat bereits einen Benutzernamen.</translation>
    </message>
    <message>
        <source>Please accept the terms of use first.</source>
        <translation>Bitte akzeptieren Sie zuerst die Nutzungsbedingungen.</translation>
    </message>
    <message>
        <source>Your acceptance of the terms of use could not be saved. Please try again later.</source>
        <translation>Ihre Zustimmung zu den Nutzungsbedingungen konnte nicht gespeichert werden. Bitte versuchen Sie es später noch einmal.</translation>
    </message>
    <message>
        <source>Please enter the characters shown in the picture.</source>
        <translation>Bitte geben Sie die Zeichen aus dem Bild ein.</translation>
    </message>
    <message>
        <source>You said that you have forgotten your password. Please set a new one.</source>
        <translation>Sie haben angegeben, Ihr Passwort vergessen zu haben. Bitte legen Sie ein neues fest.</translation>
    </message>
    <message>
        <source>The sign-in window could not be shown. Please try again.</source>
        <translation>Das Anmeldefenster konnte nicht angezeigt werden. Bitte versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>The old password is wrong. Please enter it again.</source>
        <translation>Das alte Passwort ist falsch. Bitte geben Sie es noch einmal ein.</translation>
    </message>
    <message>
        <source>Please enter your password.</source>
        <translation>Bitte geben Sie Ihr Passwort ein.</translation>
    </message>
    <message>
        <source>No account is set up on this device. Please sign in first.</source>
        <translation>Auf diesem Gerät ist kein Konto eingerichtet. Bitte melden Sie sich zuerst an.</translation>
    </message>
    <message>
        <source>Something else is still being done with your account. Please try again in a moment.</source>
        <translation>Für Ihr Konto läuft noch ein anderer Vorgang. Bitte versuchen Sie es gleich noch einmal.</translation>
    </message>
    <message>
        <source>Your account is not completely set up. Please sign in again.</source>
        <translation>Ihr Konto ist nicht vollständig eingerichtet. Bitte melden Sie sich erneut an.</translation>
    </message>
    <message>
        <source>Choosing your user name was not finished. Please choose it again.</source>
        <translation>Die Wahl Ihres Benutzernamens wurde nicht abgeschlossen. Bitte wählen Sie ihn noch einmal.</translation>
    </message>
    <message>
        <source>The account on this device is switched off.</source>
        <translation>Das Konto auf diesem Gerät ist ausgeschaltet.</translation>
    </message>
    <message>
        <source>Your sign-in details could not be saved on this device. Please try again.</source>
        <translation>Ihre Anmeldedaten konnten auf diesem Gerät nicht gespeichert werden. Bitte versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>No sign-in details are saved on this device. Please sign in.</source>
        <translation>Auf diesem Gerät sind keine Anmeldedaten gespeichert. Bitte melden Sie sich an.</translation>
    </message>
    <message>
        <source>This application has not been prepared for the account service.</source>
        <translation>Diese Anwendung ist nicht für den Kontodienst vorbereitet.</translation>
    </message>
    <message>
        <source>There is already an account on this device.</source>
        <translation>Auf diesem Gerät gibt es bereits ein Konto.</translation>
    </message>
    <message>
        <source>The account on this device is just being set up or removed. Please wait until that is finished.</source>
        <translation>Das Konto auf diesem Gerät wird gerade eingerichtet oder entfernt. Bitte warten Sie, bis das abgeschlossen ist.</translation>
    </message>
    <message>
        <source>The account could not be set up on this device or removed from it. Please try signing in or out again.</source>
        <translation>Das Konto konnte auf diesem Gerät nicht eingerichtet oder von ihm entfernt werden. Bitte versuchen Sie noch einmal, sich an- oder abzumelden.</translation>
    </message>
    <message>
        <source>The country of this device is not known.</source>
        <translation>Das Land dieses Geräts ist nicht bekannt.</translation>
    </message>
    <message>
        <source>This is not possible at the moment.</source>
        <translation>Dies ist zurzeit nicht möglich.</translation>
    </message>
    <message>
        <source>An entry is missing or not valid. Please check your entries.</source>
        <translation>Eine Angabe fehlt oder ist ungültig. Bitte prüfen Sie Ihre Angaben.</translation>
    </message>
    <message>
        <source>The request could not be sent.</source>
        <translation>Die Anfrage konnte nicht gesendet werden.</translation>
    </message>
</context>
</TS>
