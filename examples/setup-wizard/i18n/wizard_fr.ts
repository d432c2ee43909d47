<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name>AgainButton</name>
    <message>
        <source>Try again</source>
        <translation>Réessayer</translation>
    </message>
</context>
<context>
    <name>CaptchaPage</name>
    <message>
        <source>Are you a person?</source>
        <translation>Êtes-vous une personne ?</translation>
    </message>
    <message>
        <source>Type what you read in the picture. A press on it brings another.</source>
        <translation>Recopiez ce que montre l'image. Un appui dessus en donne une autre.</translation>
    </message>
    <message>
        <source>Characters in the picture</source>
        <translation>Caractères de l'image</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Suivant</translation>
    </message>
</context>
<context>
    <name>NamePage</name>
    <message>
        <source>Who are you?</source>
        <translation>Qui êtes-vous ?</translation>
    </message>
    <message>
        <source>User name or e-mail address</source>
        <translation>Nom d'utilisateur ou adresse e-mail</translation>
    </message>
    <message>
        <source>Looking it up…</source>
        <translation>Vérification…</translation>
    </message>
    <message>
        <source>It is free.</source>
        <translation>Il est libre.</translation>
    </message>
    <message>
        <source>It is taken.</source>
        <translation>Il est pris.</translation>
    </message>
    <message>
        <source>Free are:</source>
        <translation>Sont libres :</translation>
    </message>
    <message>
        <source>Mobile number</source>
        <translation>Numéro de mobile</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Mot de passe</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Suivant</translation>
    </message>
</context>
<context>
    <name>ProfilePage</name>
    <message>
        <source>Your profile</source>
        <translation>Votre profil</translation>
    </message>
    <message>
        <source>User name</source>
        <translation>Nom d'utilisateur</translation>
    </message>
    <message>
        <source>E-mail address</source>
        <translation>Adresse e-mail</translation>
    </message>
    <message>
        <source>Mobile number</source>
        <translation>Numéro de mobile</translation>
    </message>
    <message>
        <source>Country</source>
        <translation>Pays</translation>
    </message>
    <message>
        <source>Security question</source>
        <translation>Question de sécurité</translation>
    </message>
    <message>
        <source>It is for good.</source>
        <translation>Il est définitif.</translation>
    </message>
    <message>
        <source>Take this name</source>
        <translation>Prendre ce nom</translation>
    </message>
    <message>
        <source>Password until now</source>
        <translation>Mot de passe actuel</translation>
    </message>
    <message>
        <source>New password</source>
        <translation>Nouveau mot de passe</translation>
    </message>
    <message>
        <source>Change the password</source>
        <translation>Changer le mot de passe</translation>
    </message>
    <message>
        <source>Your answer</source>
        <translation>Votre réponse</translation>
    </message>
    <message>
        <source>Change the question</source>
        <translation>Changer la question</translation>
    </message>
    <message>
        <source>This is your user name now.</source>
        <translation>C'est maintenant votre nom d'utilisateur.</translation>
    </message>
    <message>
        <source>The password is changed.</source>
        <translation>Le mot de passe est changé.</translation>
    </message>
    <message>
        <source>The question is changed.</source>
        <translation>La question est changée.</translation>
    </message>
    <message>
        <source>Sign out</source>
        <translation>Se déconnecter</translation>
    </message>
</context>
<context>
    <name>ProgressPage</name>
    <message>
        <source>One moment</source>
        <translation>Un instant</translation>
    </message>
    <message>
        <source>Your account is being set up.</source>
        <translation>Votre compte est en cours de création.</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Try again</source>
        <translation>Réessayer</translation>
    </message>
</context>
<context>
    <name>QuestionChoice</name>
    <message>
        <source>Security question</source>
        <translation>Question de sécurité</translation>
    </message>
</context>
<context>
    <name>QuestionPage</name>
    <message>
        <source>Should you forget your password</source>
        <translation>Si vous oubliez le mot de passe</translation>
    </message>
    <message>
        <source>Choose a question that only you can answer.</source>
        <translation>Choisissez une question à laquelle vous seul pouvez répondre.</translation>
    </message>
    <message>
        <source>Your answer</source>
        <translation>Votre réponse</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Suivant</translation>
    </message>
</context>
<context>
    <name>RecoveryPage</name>
    <message>
        <source>Your code:</source>
        <translation>Votre code :</translation>
    </message>
    <message>
        <source>A new password</source>
        <translation>Un nouveau mot de passe</translation>
    </message>
    <message>
        <source>We have sent you a message with a code.</source>
        <translation>Nous vous avons envoyé un message avec un code.</translation>
    </message>
    <message>
        <source>We send you a message with a code.</source>
        <translation>Nous vous envoyons un message avec un code.</translation>
    </message>
    <message>
        <source>User name, e-mail address or mobile number</source>
        <translation>Nom d'utilisateur, adresse e-mail ou numéro de mobile</translation>
    </message>
    <message>
        <source>Characters in the picture</source>
        <translation>Caractères de l'image</translation>
    </message>
    <message>
        <source>Code in the message</source>
        <translation>Code du message</translation>
    </message>
    <message>
        <source>Your answer</source>
        <translation>Votre réponse</translation>
    </message>
    <message>
        <source>New password</source>
        <translation>Nouveau mot de passe</translation>
    </message>
    <message>
        <source>Set the password</source>
        <translation>Définir le mot de passe</translation>
    </message>
    <message>
        <source>Send the message</source>
        <translation>Envoyer le message</translation>
    </message>
</context>
<context>
    <name>SignInPage</name>
    <message>
        <source>Sign in</source>
        <translation>Se connecter</translation>
    </message>
    <message>
        <source>User name, e-mail address or mobile number</source>
        <translation>Nom d'utilisateur, adresse e-mail ou numéro de mobile</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Mot de passe</translation>
    </message>
    <message>
        <source>I forgot my password</source>
        <translation>J'ai oublié mon mot de passe</translation>
    </message>
    <message>
        <source>Signing in…</source>
        <translation>Connexion…</translation>
    </message>
</context>
<context>
    <name>SuccessPage</name>
    <message>
        <source>Your account is ready</source>
        <translation>Votre compte est prêt</translation>
    </message>
    <message>
        <source>It is on this device now, for all applications that ask for it.</source>
        <translation>Il est maintenant sur cet appareil, pour toutes les applications qui le demandent.</translation>
    </message>
    <message>
        <source>Show my profile</source>
        <translation>Voir mon profil</translation>
    </message>
</context>
<context>
    <name>TermsPage</name>
    <message>
        <source>Terms of service</source>
        <translation>Conditions d'utilisation</translation>
    </message>
    <message>
        <source>I accept the terms.</source>
        <translation>J'accepte les conditions.</translation>
    </message>
    <message>
        <source>Send me news and offers.</source>
        <translation>Envoyez-moi des nouvelles et des offres.</translation>
    </message>
    <message>
        <source>With the account you agree to be sent news and offers.</source>
        <translation>Avec le compte, vous acceptez de recevoir des nouvelles et des offres.</translation>
    </message>
    <message>
        <source>You can take this back at any time.</source>
        <translation>Vous pouvez y renoncer à tout moment.</translation>
    </message>
    <message>
        <source>Create the account</source>
        <translation>Créer le compte</translation>
    </message>
</context>
<context>
    <name>WelcomePage</name>
    <message>
        <source>Welcome</source>
        <translation>Bienvenue</translation>
    </message>
    <message>
        <source>With an account you find your things again on every device.</source>
        <translation>Avec un compte, vous retrouvez vos affaires sur chaque appareil.</translation>
    </message>
    <message>
        <source>Country of this device: %1</source>
        <translation>Pays de cet appareil : %1</translation>
    </message>
    <message>
        <source>An account is prepared for your number %1.</source>
        <translation>Un compte est préparé pour votre numéro %1.</translation>
    </message>
    <message>
        <source>Create an account</source>
        <translation>Créer un compte</translation>
    </message>
    <message>
        <source>Sign in</source>
        <translation>Se connecter</translation>
    </message>
</context>
<context>
    <name>WizardPage</name>
    <message>
        <source>Back</source>
        <translation>Retour</translation>
    </message>
</context>
</TS>
