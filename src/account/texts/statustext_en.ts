<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>KelAccount::StatusText</name>
    <message>
        <source>The account service did not understand the request of this application. Updating the application may help.</source>
        <translation>The account service did not understand the request of this application. Updating the application may help.</translation>
    </message>
    <message>
        <source>The account service could not find what was asked for.</source>
        <translation>The account service could not find what was asked for.</translation>
    </message>
    <message>
        <source>The account service did not accept the sign-in. Please check user name and password.</source>
        <translation>The account service did not accept the sign-in. Please check user name and password.</translation>
    </message>
    <message>
        <source>The characters in the picture were not entered correctly. Please try again with a new picture.</source>
        <translation>The characters in the picture were not entered correctly. Please try again with a new picture.</translation>
    </message>
    <message>
        <source>The account service did not accept this device.</source>
        <translation>The account service did not accept this device.</translation>
    </message>
    <message>
        <source>This application did not identify itself to the account service.</source>
        <translation>This application did not identify itself to the account service.</translation>
    </message>
    <message>
        <source>This application is not allowed to use your account.</source>
        <translation>This application is not allowed to use your account.</translation>
    </message>
    <message>
        <source>The sign-in service of this device has a problem. Please try again.</source>
        <translation>The sign-in service of this device has a problem. Please try again.</translation>
    </message>
    <message>
        <source>The sign-in service of this device cannot be reached. Please try again.</source>
        <translation>The sign-in service of this device cannot be reached. Please try again.</translation>
    </message>
    <message>
        <source>Something unexpected happened. Please try again.</source>
        <translation>Something unexpected happened. Please try again.</translation>
    </message>
    <message>
        <source>Done.</source>
        <translation>Done.</translation>
    </message>
    <message>
        <source>The account service cannot be reached right now. Please try again later.</source>
        <translation>The account service cannot be reached right now. Please try again later.</translation>
    </message>
    <message>
        <source>The connection to the account service was lost. Please try again.</source>
        <translation>The connection to the account service was lost. Please try again.</translation>
    </message>
    <message>
        <source>The account service was not found on the network. Please check your internet connection.</source>
        <translation>The account service was not found on the network. Please check your internet connection.</translation>
    </message>
    <message>
        <source>The account service did not answer in time. Please try again.</source>
        <translation>The account service did not answer in time. Please try again.</translation>
    </message>
    <message>
        <source>The request was cancelled.</source>
        <translation>The request was cancelled.</translation>
    </message>
    <message>
        <source>No secure connection to the account service could be made. Please check date and time of this device, or try another network.</source>
        <translation>No secure connection to the account service could be made. Please check date and time of this device, or try another network.</translation>
    </message>
    <message>
        <source>The network is unavailable for the moment. Please try again.</source>
        <translation>The network is unavailable for the moment. Please try again.</translation>
    </message>
    <message>
        <source>The proxy of this network refused the connection. Please check the network settings.</source>
        <translation>The proxy of this network refused the connection. Please check the network settings.</translation>
    </message>
    <message>
        <source>The proxy of this network ended the connection. Please try again.</source>
        <translation>The proxy of this network ended the connection. Please try again.</translation>
    </message>
    <message>
        <source>The proxy of this network was not found. Please check the network settings.</source>
        <translation>The proxy of this network was not found. Please check the network settings.</translation>
    </message>
    <message>
        <source>The proxy of this network did not answer in time. Please try again.</source>
        <translation>The proxy of this network did not answer in time. Please try again.</translation>
    </message>
    <message>
        <source>The proxy of this network asks for a user name and a password. Please check the network settings.</source>
        <translation>The proxy of this network asks for a user name and a password. Please check the network settings.</translation>
    </message>
    <message>
        <source>The account service denied access.</source>
        <translation>The account service denied access.</translation>
    </message>
    <message>
        <source>The account service does not allow this operation.</source>
        <translation>The account service does not allow this operation.</translation>
    </message>
    <message>
        <source>The account service requires you to sign in.</source>
        <translation>The account service requires you to sign in.</translation>
    </message>
    <message>
        <source>Sending was interrupted. Please try again.</source>
        <translation>Sending was interrupted. Please try again.</translation>
    </message>
    <message>
        <source>There is a problem with the network. Please check your internet connection and try again.</source>
        <translation>There is a problem with the network. Please check your internet connection and try again.</translation>
    </message>
    <message>
        <source>There is a problem with the proxy of this network. Please check the network settings.</source>
        <translation>There is a problem with the proxy of this network. Please check the network settings.</translation>
    </message>
    <message>
        <source>The account service could not accept the request. Please try again later.</source>
        <translation>The account service could not accept the request. Please try again later.</translation>
    </message>
    <message>
        <source>The answer of the account service could not be read. Please try again later.</source>
        <translation>The answer of the account service could not be read. Please try again later.</translation>
    </message>
    <message>
        <source>You are no longer signed in. Please sign in again.</source>
        <translation>You are no longer signed in. Please sign in again.</translation>
    </message>
    <message>
        <source>The account service has a problem. Please try again later.</source>
        <translation>The account service has a problem. Please try again later.</translation>
    </message>
    <message>
        <source>The account service could not do this. Please try again later.</source>
        <translation>The account service could not do this. Please try again later.</translation>
    </message>
    <message>
        <source>An account has already been prepared for this user.</source>
        <translation>An account has already been prepared for this user.</translation>
    </message>
    <message>
        <source>This account is locked.</source>
        <translation>This account is locked.</translation>
    </message>
    <message>
        <source>Your contact details could not be changed. Please check them.</source>
        <translation>Your contact details could not be changed. Please check them.</translation>
    </message>
    <message>
        <source>This user name is reserved. Please choose another one.</source>
        <translation>This user name is reserved. Please choose another one.</translation>
    </message>
    <message>
        <source>This e-mail address is reserved. Please enter another one.</source>
        <translation>This e-mail address is reserved. Please enter another one.</translation>
    </message>
    <message>
        <source>This e-mail address or phone number cannot be used. Please enter another one.</source>
        <translation>This e-mail address or phone number cannot be used. Please enter another one.</translation>
    </message>
    <message>
        <source>This user does not exist. Please check what you entered.</source>
        <translation>This user does not exist. Please check what you entered.</translation>
    </message>
    <message>
        <source>The e-mail could not be sent. Please try again later.</source>
        <translation>The e-mail could not be sent. Please try again later.</translation>
    </message>
    <message>
        <source>The text message could not be sent. Please try again later.</source>
        <translation>The text message could not be sent. Please try again later.</translation>
    </message>
    <message>
        <source>One of your entries does not have the right form. Please check your entries.</source>
        <translation>One of your entries does not have the right form. Please check your entries.</translation>
    </message>
    <message>
        <source>Because of your age, a parent has to agree first.</source>
        <translation>Because of your age, a parent has to agree first.</translation>
    </message>
    <message>
        <source>This is not allowed at your age.</source>
        <translation>This is not allowed at your age.</translation>
    </message>
    <message>
        <source>You are too young for this.</source>
        <translation>You are too young for this.</translation>
    </message>
    <message>
        <source>The account service does not allow this change.</source>
        <translation>The account service does not allow this change.</translation>
    </message>
    <message>
        <source>You are not signed in. Please sign in.</source>
        <translation>You are not signed in. Please sign in.</translation>
    </message>
    <message>
        <source>Signing in was cancelled.</source>
        <translation>Signing in was cancelled.</translation>
    </message>
    <message>
        <source>The terms of use could not be fetched. Please try again later.</source>
        <translation>The terms of use could not be fetched. Please try again later.</translation>
    </message>
    <message>
        <source>Your account already has a user name.</source>
        <translation>Your account already has a user name.</translation>
    </message>
    <message>
        <source>Please accept the terms of use first.</source>
        <translation>Please accept the terms of use first.</translation>
    </message>
    <message>
        <source>Your acceptance of the terms of use could not be saved. Please try again later.</source>
        <translation>Your acceptance of the terms of use could not be saved. Please try again later.</translation>
    </message>
    <message>
        <source>Please enter the characters shown in the picture.</source>
        <translation>Please enter the characters shown in the picture.</translation>
    </message>
    <message>
        <source>You said that you have forgotten your password. Please set a new one.</source>
        <translation>You said that you have forgotten your password. Please set a new one.</translation>
    </message>
    <message>
        <source>The sign-in window could not be shown. Please try again.</source>
        <translation>The sign-in window could not be shown. Please try again.</translation>
    </message>
    <message>
        <source>The old password is wrong. Please enter it again.</source>
        <translation>The old password is wrong. Please enter it again.</translation>
    </message>
    <message>
        <source>Please enter your password.</source>
        <translation>Please enter your password.</translation>
    </message>
    <message>
        <source>No account is set up on this device. Please sign in first.</source>
        <translation>No account is set up on this device. Please sign in first.</translation>
    </message>
    <message>
        <source>Something else is still being done with your account. Please try again in a moment.</source>
        <translation>Something else is still being done with your account. Please try again in a moment.</translation>
    </message>
    <message>
        <source>Your account is not completely set up. Please sign in again.</source>
        <translation>Your account is not completely set up. Please sign in again.</translation>
    </message>
    <message>
        <source>Choosing your user name was not finished. Please choose it again.</source>
        <translation>Choosing your user name was not finished. Please choose it again.</translation>
    </message>
    <message>
        <source>The account on this device is switched off.</source>
        <translation>The account on this device is switched off.</translation>
    </message>
    <message>
        <source>Your sign-in details could not be saved on this device. Please try again.</source>
        <translation>Your sign-in details could not be saved on this device. Please try again.</translation>
    </message>
    <message>
        <source>No sign-in details are saved on this device. Please sign in.</source>
        <translation>No sign-in details are saved on this device. Please sign in.</translation>
    </message>
    <message>
        <source>This application has not been prepared for the account service.</source>
        <translation>This application has not been prepared for the account service.</translation>
    </message>
    <message>
        <source>There is already an account on this device.</source>
        <translation>There is already an account on this device.</translation>
    </message>
    <message>
        <source>The account on this device is just being set up or removed. Please wait until that is finished.</source>
        <translation>The account on this device is just being set up or removed. Please wait until that is finished.</translation>
    </message>
    <message>
        <source>The account could not be set up on this device or removed from it. Please try signing in or out again.</source>
        <translation>The account could not be set up on this device or removed from it. Please try signing in or out again.</translation>
    </message>
    <message>
        <source>The country of this device is not known.</source>
        <translation>The country of this device is not known.</translation>
    </message>
    <message>
        <source>This is not possible at the moment.</source>
        <translation>This is not possible at the moment.</translation>
    </message>
    <message>
        <source>An entry is missing or not valid. Please check your entries.</source>
        <translation>An entry is missing or not valid. Please check your entries.</translation>
    </message>
    <message>
        <source>The request could not be sent.</source>
        <translation>The request could not be sent.</translation>
    </message>
</context>
</TS>
