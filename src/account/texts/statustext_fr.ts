<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name>KelAccount::StatusText</name>
    <message>
        <source>The account service did not understand the request of this application. Updating the application may help.</source>
        <translation>Le service de comptes n’a pas compris la demande de cette application. Une mise à jour de l’application peut résoudre le problème.</translation>
    </message>
    <message>
        <source>The account service could not find what was asked for.</source>
        <translation>Le service de comptes n’a pas trouvé ce qui a été demandé.</translation>
    </message>
    <message>
        <source>The account service did not accept the sign-in. Please check user name and password.</source>
        <translation>Le service de comptes a refusé l’ouverture de session. Veuillez vérifier le nom d’utilisateur et le mot de passe.</translation>
    </message>
    <message>
        <source>The characters in the picture were not entered correctly. Please try again with a new picture.</source>
        <translation>Les caractères de l’image n’ont pas été saisis correctement. Veuillez réessayer avec une nouvelle image.</translation>
    </message>
    <message>
        <source>The account service did not accept this device.</source>
        <translation>Le service de comptes n’a pas accepté cet appareil.</translation>
    </message>
    <message>
        <source>This application did not identify itself to the account service.</source>
        <translation>Cette application ne s’est pas identifiée auprès du service de comptes.</translation>
    </message>
    <message>
        <source>This application is not allowed to use your account.</source>
        <translation>Cette application n’est pas autorisée à utiliser votre compte.</translation>
    </message>
    <message>
        <source>The sign-in service of this device has a problem. Please try again.</source>
        <translation>Le service de connexion de cet appareil rencontre un problème. Veuillez réessayer.</translation>
    </message>
    <message>
        <source>The sign-in service of this device cannot be reached. Please try again.</source>
        <translation>Le service de connexion de cet appareil est injoignable. Veuillez réessayer.</translation>
    </message>
    <message>
        <source>Something unexpected happened. Please try again.</source>
        <translation>Un problème inattendu est survenu. Veuillez réessayer.</translation>
    </message>
    <message>
        <source>Done.</source>
        <translation>C’est fait.</translation>
    </message>
    <message>
        <source>The account service cannot be reached right now. Please try again later.</source>
        <translation>Le service de comptes est injoignable pour le moment. Veuillez réessayer plus tard.</translation>
    </message>
    <message>
        <source>The connection to the account service was lost. Please try again.</source>
        <translation>La connexion au service de comptes a été interrompue. Veuillez réessayer.</translation>
    </message>
    <message>
        <source>The account service was not found on the network. Please check your internet connection.</source>
        <translation>Le service de comptes est introuvable sur le réseau. Veuillez vérifier votre connexion Internet.</translation>
    </message>
    <message>
        <source>The account service did not answer in time. Please try again.</source>
        <translation>Le service de comptes n’a pas répondu à temps. Veuillez réessayer.</translation>
    </message>
    <message>
        <source>The request was cancelled.</source>
        <translation>L’opération a été annulée.</translation>
    </message>
    <message>
        <source>No secure connection to the account service could be made. Please check date and time of this device, or try another network.</source>
        <translation>Impossible d’établir une connexion sécurisée avec le service de comptes. Veuillez vérifier la date et l’heure de cet appareil ou essayer un autre réseau.</translation>
    </message>
    <message>
        <source>The network is unavailable for the moment. Please try again.</source>
        <translation>Le réseau est momentanément indisponible. Veuillez réessayer.</translation>
    </message>
    <message>
        <source>The proxy of this network refused the connection. Please check the network settings.</source>
        <translation>Le serveur proxy de ce réseau a refusé la connexion. Veuillez vérifier les paramètres réseau.</translation>
    </message>
    <message>
        <source>The proxy of this network ended the connection. Please try again.</source>
        <translation>Le serveur proxy de ce réseau a mis fin à la connexion. Veuillez réessayer.</translation>
    </message>
    <message>
        <source>The proxy of this network was not found. Please check the network settings.</source>
        <translation>Le serveur proxy de ce réseau est introuvable. Veuillez vérifier les paramètres réseau.</translation>
    </message>
    <message>
        <source>The proxy of this network did not answer in time. Please try again.</source>
        <translation>Le serveur proxy de ce réseau n’a pas répondu à temps. Veuillez réessayer.</translation>
    </message>
    <message>
        <source>The proxy of this network asks for a user name and a password. Please check the network settings.</source>
        <translation>Le serveur proxy de ce réseau demande un nom d’utilisateur et un mot de passe. Veuillez vérifier les paramètres réseau.</translation>
    </message>
    <message>
        <source>The account service denied access.</source>
        <translation>Le service de comptes a refusé l’accès.</translation>
    </message>
    <message>
        <source>The account service does not allow this operation.</source>
        <translation>Le service de comptes n’autorise pas cette opération.</translation>
    </message>
    <message>
        <source>The account service requires you to sign in.</source>
        <translation>Le service de comptes demande que vous vous connectiez.</translation>
    </message>
    <message>
        <source>Sending was interrupted. Please try again.</source>
        <translation>L’envoi a été interrompu. Veuillez réessayer.</translation>
    </message>
    <message>
        <source>There is a problem with the network. Please check your internet connection and try again.</source>
        <translation>Un problème de réseau est survenu. Veuillez vérifier votre connexion Internet et réessayer.</translation>
    </message>
    <message>
        <source>There is a problem with the proxy of this network. Please check the network settings.</source>
        <translation>Le serveur proxy de ce réseau rencontre un problème. Veuillez vérifier les paramètres réseau.</translation>
    </message>
    <message>
        <source>The account service could not accept the request. Please try again later.</source>
        <translation>Le service de comptes n’a pas pu accepter la demande. Veuillez réessayer plus tard.</translation>
    </message>
    <message>
        <source>The answer of the account service could not be read. Please try again later.</source>
        <translation>La réponse du service de comptes est illisible. Veuillez réessayer plus tard.</translation>
    </message>
    <message>
        <source>You are no longer signed in. Please sign in again.</source>
        <translation>Votre session a expiré. Veuillez vous reconnecter.</translation>
    </message>
    <message>
        <source>The account service has a problem. Please try again later.</source>
        <translation>Le service de comptes rencontre un problème. Veuillez réessayer plus tard.</translation>
    </message>
    <message>
        <source>The account service could not do this. Please try again later.</source>
        <translation>Le service de comptes n’a pas pu effectuer cette opération. Veuillez réessayer plus tard.</translation>
    </message>
    <message>
        <source>An account has already been prepared for this user.</source>
        <translation>Un compte est déjà préparé pour cet utilisateur.</translation>
    </message>
    <message>
        <source>This account is locked.</source>
        <translation>Ce compte est bloqué.</translation>
    </message>
    <message>
        <source>Your contact details could not be changed. Please check them.</source>
        <translation>Vos coordonnées n’ont pas pu être modifiées. Veuillez les vérifier.</translation>
    </message>
    <message>
        <source>This user name is reserved. Please choose another one.</source>
        <translation>Ce nom d’utilisateur est réservé. Veuillez en choisir un autre.</translation>
    </message>
    <message>
        <source>This e-mail address is reserved. Please enter another one.</source>
        <translation>Cette adresse e-mail est réservée. Veuillez en saisir une autre.</translation>
    </message>
    <message>
        <source>This e-mail address or phone number cannot be used. Please enter another one.</source>
        <translation>Cette adresse e-mail ou ce numéro de téléphone ne peut pas être utilisé. Veuillez en saisir un autre.</translation>
    </message>
    <message>
        <source>This user does not exist. Please check what you entered.</source>
        <translation>Cet utilisateur n’existe pas. Veuillez vérifier votre saisie.</translation>
    </message>
    <message>
        <source>The e-mail could not be sent. Please try again later.</source>
        <translation>L’e-mail n’a pas pu être envoyé. Veuillez réessayer plus tard.</translation>
    </message>
    <message>
        <source>The text message could not be sent. Please try again later.</source>
        <translation>Le SMS n’a pas pu être envoyé. Veuillez réessayer plus tard.</translation>
    </message>
    <message>
        <source>One of your entries does not have the right form. Please check your entries.</source>
        <translation>L’une de vos saisies n’a pas le format attendu. Veuillez vérifier vos saisies.</translation>
    </message>
    <message>
        <source>Because of your age, a parent has to agree first.</source>
        <translation>En raison de votre âge, l’accord d’un parent est d’abord nécessaire.</translation>
    </message>
    <message>
        <source>This is not allowed at your age.</source>
        <translation>Ce n’est pas autorisé à votre âge.</translation>
    </message>
    <message>
        <source>You are too young for this.</source>
        <translation>Vous êtes trop jeune pour cela.</translation>
    </message>
    <message>
        <source>The account service does not allow this change.</source>
        <translation>Le service de comptes n’autorise pas cette modification.</translation>
    </message>
    <message>
        <source>You are not signed in. Please sign in.</source>
        <translation>Aucune session n’est ouverte. Veuillez vous connecter.</translation>
    </message>
    <message>
        <source>Signing in was cancelled.</source>
        <translation>L’ouverture de session a été annulée.</translation>
    </message>
    <message>
        <source>The terms of use could not be fetched. Please try again later.</source>
        <translation>Les conditions d’utilisation n’ont pas pu être récupérées. Veuillez réessayer plus tard.</translation>
    </message>
    <message>
        <source>Your account already has a user name.</source>
        <translation>Votre compte a déjà un nom d’utilisateur.</translation>
    </message>
    <message>
        <source>Please accept the terms of use first.</source>
        <translation>Veuillez d’abord accepter les conditions d’utilisation.</translation>
    </message>
    <message>
        <source>Your acceptance of the terms of use could not be saved. Please try again later.</source>
        <translation>Votre acceptation des conditions d’utilisation n’a pas pu être enregistrée. Veuillez réessayer plus tard.</translation>
    </message>
    <message>
        <source>Please enter the characters shown in the picture.</source>
        <translation>Veuillez saisir les caractères affichés dans l’image.</translation>
    </message>
    <message>
        <source>You said that you have forgotten your password. Please set a new one.</source>
        <translation>Vous avez indiqué avoir oublié votre mot de passe. Veuillez en définir un nouveau.</translation>
    </message>
    <message>
        <source>The sign-in window could not be shown. Please try again.</source>
        <translation>La fenêtre de connexion n’a pas pu s’afficher. Veuillez réessayer.</translation>
    </message>
    <message>
        <source>The old password is wrong. Please enter it again.</source>
        <translation>L’ancien mot de passe est incorrect. Veuillez le saisir à nouveau.</translation>
    </message>
    <message>
        <source>Please enter your password.</source>
        <translation>Veuillez saisir votre mot de passe.</translation>
    </message>
    <message>
        <source>No account is set up on this device. Please sign in first.</source>
        <translation>Aucun compte n’est configuré sur cet appareil. Veuillez d’abord vous connecter.</translation>
    </message>
    <message>
        <source>Something else is still being done with your account. Please try again in a moment.</source>
        <translation>Une autre opération est en cours sur votre compte. Veuillez réessayer dans un instant.</translation>
    </message>
    <message>
        <source>Your account is not completely set up. Please sign in again.</source>
        <translation>Votre compte n’est pas entièrement configuré. Veuillez vous reconnecter.</translation>
    </message>
    <message>
        <source>Choosing your user name was not finished. Please choose it again.</source>
        <translation>Le choix de votre nom d’utilisateur n’a pas été terminé. Veuillez le choisir à nouveau.</translation>
    </message>
    <message>
        <source>The account on this device is switched off.</source>
        <translation>Le compte de cet appareil est désactivé.</translation>
    </message>
    <message>
        <source>Your sign-in details could not be saved on this device. Please try again.</source>
        <translation>Vos identifiants n’ont pas pu être enregistrés sur cet appareil. Veuillez réessayer.</translation>
    </message>
    <message>
        <source>No sign-in details are saved on this device. Please sign in.</source>
        <translation>Aucun identifiant n’est enregistré sur cet appareil. Veuillez vous connecter.</translation>
    </message>
    <message>
        <source>This application has not been prepared for the account service.</source>
        <translation>Cette application n’a pas été préparée pour le service de comptes.</translation>
    </message>
    <message>
        <source>There is already an account on this device.</source>
        <translation>Il y a déjà un compte sur cet appareil.</translation>
    </message>
    <message>
        <source>The account on this device is just being set up or removed. Please wait until that is finished.</source>
        <translation>Le compte de cet appareil est en cours de configuration ou de suppression. Veuillez attendre que ce soit terminé.</translation>
    </message>
    <message>
        <source>The account could not be set up on this device or removed from it. Please try signing in or out again.</source>
        <translation>Le compte n’a pas pu être configuré sur cet appareil ou en être supprimé. Veuillez réessayer de vous connecter ou de vous déconnecter.</translation>
    </message>
    <message>
        <source>The country of this device is not known.</source>
        <translation>Le pays de cet appareil n’est pas connu.</translation>
    </message>
    <message>
        <source>This is not possible at the moment.</source>
        <translation>Ce n’est pas possible pour le moment.</translation>
    </message>
    <message>
        <source>An entry is missing or not valid. Please check your entries.</source>
        <translation>Une information manque ou n’est pas valide. Veuillez vérifier vos saisies.</translation>
    </message>
    <message>
        <source>The request could not be sent.</source>
        <translation>La demande n’a pas pu être envoyée.</translation>
    </message>
</context>
</TS>
