<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es" sourcelanguage="en">
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
        <translation>Menos de 6 cuenta como 6.</translation>
    </message>
    <message>
        <source>From 6 to 546 minutes.</source>
        <translation>De 6 a 546 minutos.</translation>
    </message>
    <message>
        <source>More than 546 wraps round: checked once only.</source>
        <translation>Más de 546 se desborda: una sola comprobación.</translation>
    </message>
    <message>
        <source>More than 546 wraps round: checked every %1.</source>
        <translation>Más de 546 se desborda: comprobación cada %1.</translation>
    </message>
    <message>
        <source>Not encrypted: useSSL is switched off.</source>
        <translation>Sin cifrar: useSSL está desactivado.</translation>
    </message>
    <message>
        <source>Encrypted from the first byte.</source>
        <translation>Cifrado desde el primer byte.</translation>
    </message>
    <message>
        <source>Encrypted by STARTTLS.</source>
        <translation>Cifrado mediante STARTTLS.</translation>
    </message>
    <message>
        <source>Stored as %1.</source>
        <translation>Se guarda como %1.</translation>
    </message>
    <message>
        <source>Read as port 0, where no server answers.</source>
        <translation>Se lee como puerto 0, donde ningún servidor responde.</translation>
    </message>
    <message>
        <source>Read as port %1.</source>
        <translation>Se lee como puerto %1.</translation>
    </message>
</context>
<context>
    <name>QuillfenPrefPane</name>
    <message>
        <source>Quillfen Preferences</source>
        <translation>Preferencias de Quillfen</translation>
    </message>
    <message>
        <source>&amp;General</source>
        <translation>&amp;General</translation>
    </message>
    <message>
        <source>In the status area:</source>
        <translation>En el área de estado:</translation>
    </message>
    <message>
        <source>No text at all, neither the address nor the names.</source>
        <translation>Ningún texto, ni la dirección ni los nombres.</translation>
    </message>
    <message>
        <source>Show only an icon in the status area</source>
        <translation>Mostrar solo un icono en el área de estado</translation>
    </message>
    <message>
        <source>Show only an &amp;icon</source>
        <translation>Mostrar solo un &amp;icono</translation>
    </message>
    <message>
        <source>Puts this computer&apos;s name behind the address.</source>
        <translation>Pone el nombre de este equipo detrás de la dirección.</translation>
    </message>
    <message>
        <source>Add the computer&apos;s name in the status area</source>
        <translation>Añadir el nombre del equipo en el área de estado</translation>
    </message>
    <message>
        <source>Add the computer&apos;s &amp;name</source>
        <translation>Añadir el &amp;nombre del equipo</translation>
    </message>
    <message>
        <source>Puts the name of the joined wireless network behind the address.</source>
        <translation>Pone el nombre de la red inalámbrica conectada detrás de la dirección.</translation>
    </message>
    <message>
        <source>Add the wireless network&apos;s name in the status area</source>
        <translation>Añadir el nombre de la red inalámbrica en el área de estado</translation>
    </message>
    <message>
        <source>Add the &amp;wireless network&apos;s name</source>
        <translation>Añadir el nombre de la red ina&amp;lámbrica</translation>
    </message>
    <message>
        <source>This machine&apos;s first address stands there, and the names behind it.</source>
        <translation>Allí aparece la primera dirección de este equipo y, detrás, los nombres.</translation>
    </message>
    <message>
        <source>When an address changes:</source>
        <translation>Cuando cambia una dirección:</translation>
    </message>
    <message>
        <source>It stays until the address is shown anew, for instance when the menu opens.</source>
        <translation>Permanece hasta que la dirección se muestra de nuevo, por ejemplo al abrir el menú.</translation>
    </message>
    <message>
        <source>Show the change icon when an address changes</source>
        <translation>Mostrar el icono de cambio cuando cambia una dirección</translation>
    </message>
    <message>
        <source>Show t&amp;he change icon</source>
        <translation>Mostrar el icono de &amp;cambio</translation>
    </message>
    <message>
        <source>&amp;Last internal address:</source>
        <translation>Última dirección in&amp;terna:</translation>
    </message>
    <message>
        <source>This machine&apos;s first address at the last change. It can be selected and copied.</source>
        <translation>La primera dirección de este equipo en el último cambio. Se puede seleccionar y copiar.</translation>
    </message>
    <message>
        <source>Last internal address</source>
        <translation>Última dirección interna</translation>
    </message>
    <message>
        <source>Last &amp;external address:</source>
        <translation>Últi&amp;ma dirección externa:</translation>
    </message>
    <message>
        <source>The address that the outside saw at the last check. It can be selected and copied.</source>
        <translation>La dirección que se veía desde fuera en la última comprobación. Se puede seleccionar y copiar.</translation>
    </message>
    <message>
        <source>Last external address</source>
        <translation>Última dirección externa</translation>
    </message>
    <message>
        <source>E&amp;xternal address</source>
        <translation>Dirección e&amp;xterna</translation>
    </message>
    <message>
        <source>In the menu:</source>
        <translation>En el menú:</translation>
    </message>
    <message>
        <source>The menu then shows the address that the outside sees, and its DNS name.</source>
        <translation>El menú muestra entonces la dirección que se ve desde fuera y su nombre DNS.</translation>
    </message>
    <message>
        <source>Show the external address in the menu</source>
        <translation>Mostrar la dirección externa en el menú</translation>
    </message>
    <message>
        <source>&amp;Show the external address</source>
        <translation>Mo&amp;strar la dirección externa</translation>
    </message>
    <message>
        <source>In the background:</source>
        <translation>En segundo plano:</translation>
    </message>
    <message>
        <source>A change is logged and, where e-mail is switched on, mailed.</source>
        <translation>Un cambio se anota en el registro y, si el correo está activado, se envía.</translation>
    </message>
    <message>
        <source>Watch the external address in the background</source>
        <translation>Vigilar la dirección externa en segundo plano</translation>
    </message>
    <message>
        <source>&amp;Watch the external address</source>
        <translation>&amp;Vigilar la dirección externa</translation>
    </message>
    <message>
        <source>Minutes &amp;between checks:</source>
        <translation>M&amp;inutos entre comprobaciones:</translation>
    </message>
    <message>
        <source>How many minutes pass between two checks of the external address.</source>
        <translation>Cuántos minutos pasan entre dos comprobaciones de la dirección externa.</translation>
    </message>
    <message>
        <source>Minutes between checks</source>
        <translation>Minutos entre comprobaciones</translation>
    </message>
    <message>
        <source>A service on the web is asked for the address, and sees it thereby.</source>
        <translation>Se pregunta la dirección a un servicio de la web, que así la ve.</translation>
    </message>
    <message>
        <source>&amp;Mail</source>
        <translation>Corre&amp;o</translation>
    </message>
    <message>
        <source>Each recipient gets a mail with the old and the new address.</source>
        <translation>Cada destinatario recibe un correo con la dirección antigua y la nueva.</translation>
    </message>
    <message>
        <source>Send e-mail when an address changes</source>
        <translation>Enviar correo cuando cambia una dirección</translation>
    </message>
    <message>
        <source>Send &amp;e-mail</source>
        <translation>&amp;Enviar correo</translation>
    </message>
    <message>
        <source>&amp;Recipients:</source>
        <translation>&amp;Destinatarios:</translation>
    </message>
    <message>
        <source>E-mail addresses with a comma, and nothing else, between two of them. Each gets a mail of its own, from itself.</source>
        <translation>Direcciones de correo con una coma, y nada más, entre dos de ellas. Cada una recibe su propio correo, de sí misma.</translation>
    </message>
    <message>
        <source>Recipients</source>
        <translation>Destinatarios</translation>
    </message>
    <message>
        <source>Several with commas between them.</source>
        <translation>Varios, con comas entre ellos.</translation>
    </message>
    <message>
        <source>Mail &amp;server:</source>
        <translation>&amp;Servidor de correo:</translation>
    </message>
    <message>
        <source>The name of the server that takes your mail. Without one nothing is sent.</source>
        <translation>El nombre del servidor que acepta su correo. Sin él no se envía nada.</translation>
    </message>
    <message>
        <source>Mail server</source>
        <translation>Servidor de correo</translation>
    </message>
    <message>
        <source>Without a server nothing is sent.</source>
        <translation>Sin servidor no se envía nada.</translation>
    </message>
    <message>
        <source>&amp;Port:</source>
        <translation>&amp;Puerto:</translation>
    </message>
    <message>
        <source>The server&apos;s port: 587 at most providers, or 465.</source>
        <translation>El puerto del servidor: 587 en la mayoría de los proveedores, o 465.</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>Puerto</translation>
    </message>
    <message>
        <source>&amp;Authentication:</source>
        <translation>&amp;Autenticación:</translation>
    </message>
    <message>
        <source>How the mail server is told who you are. Most take PLAIN.</source>
        <translation>Cómo se le dice al servidor de correo quién es usted. La mayoría acepta PLAIN.</translation>
    </message>
    <message>
        <source>Authentication</source>
        <translation>Autenticación</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Ninguna</translation>
    </message>
    <message>
        <source>&amp;User name:</source>
        <translation>Nombre de &amp;usuario:</translation>
    </message>
    <message>
        <source>The name that the mail server knows you by.</source>
        <translation>El nombre con el que le conoce el servidor de correo.</translation>
    </message>
    <message>
        <source>User name</source>
        <translation>Nombre de usuario</translation>
    </message>
    <message>
        <source>Pass&amp;word:</source>
        <translation>&amp;Contraseña:</translation>
    </message>
    <message>
        <source>Many providers give out a password for this one use.</source>
        <translation>Muchos proveedores dan una contraseña solo para este uso.</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Contraseña</translation>
    </message>
    <message>
        <source>Stored in the file settings.json, which only you can read.</source>
        <translation>Se guarda en el archivo settings.json, que solo usted puede leer.</translation>
    </message>
    <message>
        <source>Stores these settings and mails a test to each recipient.</source>
        <translation>Guarda estos ajustes y envía un correo de prueba a cada destinatario.</translation>
    </message>
    <message>
        <source>Send &amp;Test Mail</source>
        <translation>Enviar correo de prue&amp;ba</translation>
    </message>
    <message>
        <source>A sound tells whether it was handed over, the console log what became of it.</source>
        <translation>Un sonido dice si fue entregado; el registro, qué fue de él.</translation>
    </message>
    <message>
        <source>Stores the settings; from then on the program goes by them.</source>
        <translation>Guarda los ajustes; desde entonces el programa se rige por ellos.</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>Ce&amp;rrar</translation>
    </message>
</context>
</TS>
