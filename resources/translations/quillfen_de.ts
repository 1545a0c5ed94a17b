<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>FieldHints</name>
    <message>
        <source>%1 min</source>
        <translation>%1 min</translation>
    </message>
    <message>
        <source>%1 min %2 s</source>
        <translation>%1 min %2 s</translation>
    </message>
    <message>
        <source>Less than 6 counts as 6.</source>
        <translation>Weniger als 6 zählt als 6.</translation>
    </message>
    <message>
        <source>From 6 to 546 minutes.</source>
        <translation>Von 6 bis 546 Minuten.</translation>
    </message>
    <message>
        <source>More than 546 wraps round: checked once only.</source>
        <translation>Mehr als 546 läuft über: nur eine Prüfung.</translation>
    </message>
    <message>
        <source>More than 546 wraps round: checked every %1.</source>
        <translation>Mehr als 546 läuft über: Prüfung alle %1.</translation>
    </message>
    <message>
        <source>Not encrypted: useSSL is switched off.</source>
        <translation>Nicht verschlüsselt: useSSL ist aus.</translation>
    </message>
    <message>
        <source>Encrypted from the first byte.</source>
        <translation>Verschlüsselt vom ersten Byte an.</translation>
    </message>
    <message>
        <source>Encrypted by STARTTLS.</source>
        <translation>Verschlüsselt durch STARTTLS.</translation>
    </message>
    <message>
        <source>Stored as %1.</source>
        <translation>Gespeichert als %1.</translation>
    </message>
    <message>
        <source>Read as port 0, where no server answers.</source>
        <translation>Gelesen als Port 0, wo kein Server antwortet.</translation>
    </message>
    <message>
        <source>Read as port %1.</source>
        <translation>Gelesen als Port %1.</translation>
    </message>
</context>
<context>
    <name>QuillfenPrefPane</name>
    <message>
        <source>Quillfen Preferences</source>
        <translation>Quillfen – Einstellungen</translation>
    </message>
    <message>
        <source>&amp;General</source>
        <translation>All&amp;gemein</translation>
    </message>
    <message>
        <source>In the status area:</source>
        <translation>In der Statusleiste:</translation>
    </message>
    <message>
        <source>No text at all, neither the address nor the names.</source>
        <translation>Gar kein Text, weder die Adresse noch die Namen.</translation>
    </message>
    <message>
        <source>Show only an icon in the status area</source>
        <translation>In der Statusleiste nur ein Symbol zeigen</translation>
    </message>
    <message>
        <source>Show only an &amp;icon</source>
        <translation>Nur ein S&amp;ymbol zeigen</translation>
    </message>
    <message>
        <source>Puts this computer&apos;s name behind the address.</source>
        <translation>Stellt den Namen dieses Rechners hinter die Adresse.</translation>
    </message>
    <message>
        <source>Add the computer&apos;s name in the status area</source>
        <translation>In der Statusleiste den Rechnernamen anfügen</translation>
    </message>
    <message>
        <source>Add the computer&apos;s &amp;name</source>
        <translation>Rechner&amp;namen anfügen</translation>
    </message>
    <message>
        <source>Puts the name of the joined wireless network behind the address.</source>
        <translation>Stellt den Namen des verbundenen Funknetzes hinter die Adresse.</translation>
    </message>
    <message>
        <source>Add the wireless network&apos;s name in the status area</source>
        <translation>In der Statusleiste den Namen des Funknetzes anfügen</translation>
    </message>
    <message>
        <source>Add the &amp;wireless network&apos;s name</source>
        <translation>Namen des &amp;Funknetzes anfügen</translation>
    </message>
    <message>
        <source>This machine&apos;s first address stands there, and the names behind it.</source>
        <translation>Dort steht die erste Adresse dieses Rechners, dahinter die Namen.</translation>
    </message>
    <message>
        <source>When an address changes:</source>
        <translation>Wenn sich eine Adresse ändert:</translation>
    </message>
    <message>
        <source>It stays until the address is shown anew, for instance when the menu opens.</source>
        <translation>Es bleibt, bis die Adresse neu gezeigt wird, etwa wenn sich das Menü öffnet.</translation>
    </message>
    <message>
        <source>Show the change icon when an address changes</source>
        <translation>Das Änderungssymbol zeigen, wenn sich eine Adresse ändert</translation>
    </message>
    <message>
        <source>Show t&amp;he change icon</source>
        <translation>Än&amp;derungssymbol zeigen</translation>
    </message>
    <message>
        <source>&amp;Last internal address:</source>
        <translation>&amp;Letzte interne Adresse:</translation>
    </message>
    <message>
        <source>This machine&apos;s first address at the last change. It can be selected and copied.</source>
        <translation>Die erste Adresse dieses Rechners bei der letzten Änderung. Sie lässt sich auswählen und kopieren.</translation>
    </message>
    <message>
        <source>Last internal address</source>
        <translation>Letzte interne Adresse</translation>
    </message>
    <message>
        <source>Last &amp;external address:</source>
        <translation>Le&amp;tzte externe Adresse:</translation>
    </message>
    <message>
        <source>The address that the outside saw at the last check. It can be selected and copied.</source>
        <translation>Die Adresse, die man bei der letzten Prüfung von außen sah. Sie lässt sich auswählen und kopieren.</translation>
    </message>
    <message>
        <source>Last external address</source>
        <translation>Letzte externe Adresse</translation>
    </message>
    <message>
        <source>E&amp;xternal address</source>
        <translation>E&amp;xterne Adresse</translation>
    </message>
    <message>
        <source>In the menu:</source>
        <translation>Im Menü:</translation>
    </message>
    <message>
        <source>The menu then shows the address that the outside sees, and its DNS name.</source>
        <translation>Das Menü zeigt dann die Adresse, die man von außen sieht, und ihren DNS-Namen.</translation>
    </message>
    <message>
        <source>Show the external address in the menu</source>
        <translation>Die externe Adresse im Menü zeigen</translation>
    </message>
    <message>
        <source>&amp;Show the external address</source>
        <translation>Externe Adresse &amp;zeigen</translation>
    </message>
    <message>
        <source>In the background:</source>
        <translation>Im Hintergrund:</translation>
    </message>
    <message>
        <source>A change is logged and, where e-mail is switched on, mailed.</source>
        <translation>Eine Änderung kommt ins Protokoll und, wo E-Mail eingeschaltet ist, per Mail.</translation>
    </message>
    <message>
        <source>Watch the external address in the background</source>
        <translation>Die externe Adresse im Hintergrund beobachten</translation>
    </message>
    <message>
        <source>&amp;Watch the external address</source>
        <translation>Externe Adresse &amp;beobachten</translation>
    </message>
    <message>
        <source>Minutes &amp;between checks:</source>
        <translation>M&amp;inuten zwischen Prüfungen:</translation>
    </message>
    <message>
        <source>How many minutes pass between two checks of the external address.</source>
        <translation>Wie viele Minuten zwischen zwei Prüfungen der externen Adresse vergehen.</translation>
    </message>
    <message>
        <source>Minutes between checks</source>
        <translation>Minuten zwischen Prüfungen</translation>
    </message>
    <message>
        <source>A service on the web is asked for the address, and sees it thereby.</source>
        <translation>Nach der Adresse wird ein Dienst im Netz gefragt, der sie dadurch sieht.</translation>
    </message>
    <message>
        <source>&amp;Mail</source>
        <translation>&amp;Mail</translation>
    </message>
    <message>
        <source>Each recipient gets a mail with the old and the new address.</source>
        <translation>Jeder Empfänger bekommt eine Mail mit der alten und der neuen Adresse.</translation>
    </message>
    <message>
        <source>Send e-mail when an address changes</source>
        <translation>E-Mail senden, wenn sich eine Adresse ändert</translation>
    </message>
    <message>
        <source>Send &amp;e-mail</source>
        <translation>E-Mail &amp;senden</translation>
    </message>
    <message>
        <source>&amp;Recipients:</source>
        <translation>Emp&amp;fänger:</translation>
    </message>
    <message>
        <source>E-mail addresses with a comma, and nothing else, between two of them. Each gets a mail of its own, from itself.</source>
        <translation>E-Mail-Adressen, zwischen zweien ein Komma und sonst nichts. Jede bekommt ihre eigene Mail, von sich selbst.</translation>
    </message>
    <message>
        <source>Recipients</source>
        <translation>Empfänger</translation>
    </message>
    <message>
        <source>Several with commas between them.</source>
        <translation>Mehrere mit Kommas dazwischen.</translation>
    </message>
    <message>
        <source>Mail &amp;server:</source>
        <translation>Mailse&amp;rver:</translation>
    </message>
    <message>
        <source>The name of the server that takes your mail. Without one nothing is sent.</source>
        <translation>Der Name des Servers, der Ihre Mail annimmt. Ohne ihn wird nichts gesendet.</translation>
    </message>
    <message>
        <source>Mail server</source>
        <translation>Mailserver</translation>
    </message>
    <message>
        <source>Without a server nothing is sent.</source>
        <translation>Ohne Server wird nichts gesendet.</translation>
    </message>
    <message>
        <source>&amp;Port:</source>
        <translation>&amp;Port:</translation>
    </message>
    <message>
        <source>The server&apos;s port: 587 at most providers, or 465.</source>
        <translation>Der Port des Servers: 587 bei den meisten Anbietern, oder 465.</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>Port</translation>
    </message>
    <message>
        <source>&amp;Authentication:</source>
        <translation>A&amp;nmeldung:</translation>
    </message>
    <message>
        <source>How the mail server is told who you are. Most take PLAIN.</source>
        <translation>Wie dem Mailserver gesagt wird, wer Sie sind. Die meisten nehmen PLAIN.</translation>
    </message>
    <message>
        <source>Authentication</source>
        <translation>Anmeldung</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Keine</translation>
    </message>
    <message>
        <source>&amp;User name:</source>
        <translation>&amp;Benutzername:</translation>
    </message>
    <message>
        <source>The name that the mail server knows you by.</source>
        <translation>Der Name, unter dem Sie der Mailserver kennt.</translation>
    </message>
    <message>
        <source>User name</source>
        <translation>Benutzername</translation>
    </message>
    <message>
        <source>Pass&amp;word:</source>
        <translation>Pass&amp;wort:</translation>
    </message>
    <message>
        <source>Many providers give out a password for this one use.</source>
        <translation>Viele Anbieter vergeben ein Passwort nur für diesen Zweck.</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>Stored in the file settings.json, which only you can read.</source>
        <translation>Steht in der Datei settings.json, die nur Sie lesen können.</translation>
    </message>
    <message>
        <source>Stores these settings and mails a test to each recipient.</source>
        <translation>Speichert diese Einstellungen und sendet jedem Empfänger eine Testmail.</translation>
    </message>
    <message>
        <source>Send &amp;Test Mail</source>
        <translation>&amp;Testmail senden</translation>
    </message>
    <message>
        <source>A sound tells whether it was handed over, the console log what became of it.</source>
        <translation>Ein Klang sagt, ob sie angenommen wurde, das Protokoll, was daraus wurde.</translation>
    </message>
    <message>
        <source>Stores the settings; from then on the program goes by them.</source>
        <translation>Speichert die Einstellungen; von da an richtet sich das Programm danach.</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>S&amp;chließen</translation>
    </message>
</context>
</TS>
