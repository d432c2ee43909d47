// SPDX-License-Identifier: LGPL-2.1-or-later
import QtQuick 2.15
import QtQuick.Window 2.15
import QtQuick.Controls 2.15
import Kel.Accounts 1.0

// The set-up of an account, from the welcome to the profile: what all pages share, and the way between them.
Pane {
    id: wizard

    property string consumerKey
    property string consumerSecret
    property string service: "music"
    // Off for pictures, which are to be the same each time.
    property bool animated: true
    property bool begun: false
    // Where a picture of the first page is to be kept; the application ends then.
    property string pictureFile
    readonly property bool settled: (accounts.initialized || accounts.failure.status !== 0) && !accounts.busy

    readonly property alias accounts: accounts
    readonly property alias registration: registration
    readonly property alias signIn: signIn
    readonly property alias profile: profile
    readonly property alias recovery: recovery
    readonly property Item page: stack.currentItem
    readonly property int depth: stack.depth
    // The service knows languages by two letters.
    readonly property string language: {
        const code = Qt.locale().name.split("_")[0]
        return code.length === 2 ? code : "en"
    }

    property string country
    property string preparedNumber
    property bool captchaRequired: true
    property var questions: []
    property string questionsComplaint
    property var terms: ({})
    property string termsComplaint
    // What was registered or signed in to last.
    property var account: ({})
    property int consent: AccountsClient.UnTicked

    function show(name) {
        stack.push(Qt.resolvedUrl(name + ".qml"), { wizard: wizard })
    }

    function begin(shown) {
        if (shown)
            shown.begin()
    }

    function back() {
        if (stack.depth > 1)
            stack.pop()
    }

    // Back to the page on which the field is that the service did not like. One that was left out, since it was
    // not needed, comes in the place of this one.
    function backTo(name) {
        const there = stack.find(page => page.objectName === name)
        if (there)
            stack.pop(there)
        else
            stack.replace(stack.currentItem, Qt.resolvedUrl(name + ".qml"), { wizard: wizard })
    }

    function startAgainWith(name) {
        stack.replace(null, Qt.resolvedUrl(name + ".qml"), { wizard: wizard })
    }

    // In the user's language where that is spoken there, else in English. Qt knows a country by its locales.
    function countryName(code) {
        for (const spoken of [wizard.language, "en"]) {
            const there = Qt.locale(spoken + "_" + code)
            if (code && there.name.endsWith("_" + code))
                return there.nativeCountryName
        }
        return code
    }

    // By hand, since the client waits in silence for a key that is not there.
    function initialize() {
        accounts.initialize(wizard.consumerKey, wizard.consumerSecret, accounts.server, wizard.service)
    }

    function askWhetherCaptchaIsRequired() {
        accounts.isCaptchaRequired().then(answer => { wizard.captchaRequired = answer.isRequired },
                                          undefined, wizard)
    }

    function fetchQuestions() {
        accounts.retrieveSecurityQuestionList(wizard.language).then(found => {
            wizard.questions = found.questions
            wizard.questionsComplaint = ""
        }, failure => { wizard.questionsComplaint = failure.text }, wizard)
    }

    // They may be others in another country.
    function fetchTerms() {
        accounts.retrieveTermsOfService(wizard.service, wizard.language, wizard.country, AccountsClient.Html)
            .then(found => {
                wizard.terms = found.addresses
                wizard.termsComplaint = ""
            }, failure => { wizard.termsComplaint = failure.text }, wizard)
    }

    Component.onCompleted: {
        if (!consumerKey || !consumerSecret)
            initialize()
    }
    onSettledChanged: {
        if (settled && pictureFile)
            grabToImage(result => Qt.exit(result.saveToFile(pictureFile) ? 0 : 1))
    }

    implicitWidth: 360
    implicitHeight: 640
    padding: 0
    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true
    // The first page comes before the window that gives it the keys.
    Window.onActiveChanged: {
        if (Window.active && !begun) {
            begun = true
            begin(page)
        }
    }
    Keys.onEscapePressed: back()
    Keys.onBackPressed: back()

    AccountsClient {
        id: accounts

        consumerKey: wizard.consumerKey
        consumerSecret: wizard.consumerSecret
        service: wizard.service
        onInitializedChanged: {
            retrieveCountryCode().then(found => {
                wizard.country = found.code
                wizard.fetchTerms()
            }, wizard.fetchTerms, wizard)
            detectPreAccount().then(found => { wizard.preparedNumber = found.mobilePhoneNumber },
                                    undefined, wizard)
            wizard.askWhetherCaptchaIsRequired()
            isKeLAccountConfigured().then(state => {
                if (state.isConfigured)
                    wizard.startAgainWith("ProfilePage")
            }, undefined, wizard)
            wizard.fetchQuestions()
            queryMarketingVariant().then(found => { wizard.consent = found.variant }, undefined, wizard)
        }
    }

    Registration {
        id: registration

        client: accounts
        country: wizard.country
        language: wizard.language
        onSucceeded: wizard.account = account
    }

    SignIn {
        id: signIn

        client: accounts
        onSucceeded: wizard.account = account
    }

    Profile {
        id: profile

        client: accounts
    }

    Recovery {
        id: recovery

        client: accounts
        language: wizard.language
    }

    StackView {
        id: stack

        anchors.fill: parent
        focus: true
        initialItem: WelcomePage { wizard: wizard }
        pushEnter: wizard.animated ? slide : null
        pushExit: null
        popEnter: null
        popExit: null
        replaceEnter: null
        replaceExit: null
        onCurrentItemChanged: wizard.begin(currentItem)

        Transition {
            id: slide

            NumberAnimation { property: "opacity"; from: 0; to: 1; duration: 150 }
        }
    }
}
