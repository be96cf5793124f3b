<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>AboutDialog</name>
    <message>
        <source>About nubo</source>
        <translation>Über nubo</translation>
    </message>
    <message>
        <source>&lt;h2&gt;nubo %1&lt;/h2&gt;&lt;p&gt;Shows 3-D models and takes pictures and videos of them, at any size.&lt;/p&gt;&lt;p&gt;Built on Qt %2.&lt;/p&gt;</source>
        <translation>&lt;h2&gt;nubo %1&lt;/h2&gt;&lt;p&gt;Zeigt 3-D-Modelle und macht Bilder und Videos davon, in jeder Größe.&lt;/p&gt;&lt;p&gt;Gebaut auf Qt %2.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>Module or Library</source>
        <translation>Modul oder Bibliothek</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Licence</source>
        <translation>Lizenz</translation>
    </message>
    <message>
        <source>Where From</source>
        <translation>Herkunft</translation>
    </message>
    <message>
        <source>Modules and libraries</source>
        <translation>Module und Bibliotheken</translation>
    </message>
    <message>
        <source>Module %1</source>
        <translation>Modul %1</translation>
    </message>
    <message>
        <source>Reader %1</source>
        <translation>Leser %1</translation>
    </message>
</context>
<context>
    <name>AbstractParameter</name>
    <message>
        <source>it cannot be given as text</source>
        <translation>der Wert lässt sich nicht als Text angeben</translation>
    </message>
    <message>
        <source>&quot;%1&quot; does not fit</source>
        <translation>„%1“ passt nicht</translation>
    </message>
</context>
<context>
    <name>BackgroundMenu</name>
    <message>
        <source>&amp;Background</source>
        <translation>&amp;Hintergrund</translation>
    </message>
    <message>
        <source>&amp;Colour…</source>
        <translation>&amp;Farbe…</translation>
    </message>
    <message>
        <source>&amp;Gradient…</source>
        <translation>&amp;Verlauf…</translation>
    </message>
    <message>
        <source>&amp;Image…</source>
        <translation>&amp;Bild…</translation>
    </message>
    <message>
        <source>In &amp;Pictures, Too</source>
        <translation>A&amp;uch in Bildern</translation>
    </message>
    <message>
        <source>Background Colour</source>
        <translation>Hintergrundfarbe</translation>
    </message>
    <message>
        <source>Colour Above</source>
        <translation>Farbe oben</translation>
    </message>
    <message>
        <source>Colour Below</source>
        <translation>Farbe unten</translation>
    </message>
    <message>
        <source>Background Image</source>
        <translation>Hintergrundbild</translation>
    </message>
    <message>
        <source>Images (*.png *.jpg *.jpeg *.tif *.tiff *.webp *.bmp)</source>
        <translation>Bilder (*.png *.jpg *.jpeg *.tif *.tiff *.webp *.bmp)</translation>
    </message>
    <message>
        <source>“%1” could not be read: %2</source>
        <translation>„%1“ konnte nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>&amp;Default</source>
        <translation>&amp;Standard</translation>
    </message>
</context>
<context>
    <name>CameraPath</name>
    <message>
        <source>its time is not above that of the line before</source>
        <translation>ihre Zeit liegt nicht nach der der Zeile davor</translation>
    </message>
    <message>
        <source>the camera stands in the point that it looks at</source>
        <translation>die Kamera steht in dem Punkt, auf den sie blickt</translation>
    </message>
    <message>
        <source>cannot read &apos;%1&apos;: %2</source>
        <translation>„%1“ ist nicht lesbar: %2</translation>
    </message>
    <message>
        <source>a path needs two places, and it holds %1</source>
        <translation>ein Weg braucht zwei Stellen und hat %1</translation>
    </message>
    <message>
        <source>its times span more than %L1 steps</source>
        <translation>seine Zeiten umfassen mehr als %L1 Schritte</translation>
    </message>
    <message>
        <source>at %1 s the camera stands in the point that it looks at</source>
        <translation>bei %1 s steht die Kamera in dem Punkt, auf den sie blickt</translation>
    </message>
</context>
<context>
    <name>CastClass</name>
    <message>
        <source>&quot;%1&quot; is not a whole number</source>
        <translation>„%1“ ist keine ganze Zahl</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a number</source>
        <translation>„%1“ ist keine Zahl</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is neither yes nor no</source>
        <translation>„%1“ ist weder ja noch nein</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a picture: %2</source>
        <translation>„%1“ ist kein Bild: %2</translation>
    </message>
</context>
<context>
    <name>CommandDock</name>
    <message>
        <source>Result</source>
        <translation>Ergebnis</translation>
    </message>
</context>
<context>
    <name>CommandStarter</name>
    <message>
        <source>“%1”</source>
        <translation>„%1“</translation>
    </message>
    <message>
        <source>“%1” cannot be run now, or does not take these values.</source>
        <translation>„%1“ kann jetzt nicht laufen oder nimmt diese Werte nicht an.</translation>
    </message>
    <message>
        <source>Close Panel</source>
        <translation>Ansicht schließen</translation>
    </message>
    <message>
        <source>Still running for this panel: %1.</source>
        <translation>Für diese Ansicht läuft noch: %1.</translation>
    </message>
    <message>
        <source>If you close the panel, the command may end at once, and what it has made so far may be lost. To keep it, cancel here and stop the command first.</source>
        <translation>Wenn Sie die Ansicht schließen, endet der Befehl womöglich sofort, und was er bisher gemacht hat, geht verloren. Um es zu behalten, brechen Sie hier ab und beenden zuerst den Befehl.</translation>
    </message>
    <message>
        <source>C&amp;lose All the Same</source>
        <translation>Trotzdem &amp;schließen</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Still running: %1.</source>
        <translation>Es läuft noch: %1.</translation>
    </message>
    <message>
        <source>If you quit, recordings are stopped and kept, pictures are given up, and the window closes when all has ended.</source>
        <translation>Wenn Sie beenden, werden Aufnahmen angehalten und behalten, Bilder aufgegeben, und das Fenster schließt sich, wenn alles fertig ist.</translation>
    </message>
    <message>
        <source>Stop and &amp;Quit</source>
        <translation>Anhalten und &amp;beenden</translation>
    </message>
    <message>
        <source>%1 ended early: %2</source>
        <translation>%1 endete vorzeitig: %2</translation>
    </message>
</context>
<context>
    <name>ElementColors</name>
    <message>
        <source>Colour</source>
        <translation>Farbe</translation>
    </message>
    <message>
        <source>Colour of “%1”</source>
        <translation>Farbe von „%1“</translation>
    </message>
</context>
<context>
    <name>FileCheck</name>
    <message>
        <source>a file name is wanted</source>
        <translation>ein Dateiname fehlt</translation>
    </message>
    <message>
        <source>is a directory</source>
        <translation>das ist ein Verzeichnis</translation>
    </message>
    <message>
        <source>is not an ordinary file</source>
        <translation>das ist keine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>the directory %1 does not exist</source>
        <translation>das Verzeichnis %1 gibt es nicht</translation>
    </message>
    <message>
        <source>%1 is not a directory</source>
        <translation>%1 ist kein Verzeichnis</translation>
    </message>
    <message>
        <source>cannot write into the directory %1: %2</source>
        <translation>in das Verzeichnis %1 lässt sich nicht schreiben: %2</translation>
    </message>
</context>
<context>
    <name>FileEditor</name>
    <message>
        <source>Choose the file in a dialog</source>
        <translation>Die Datei in einem Dialog wählen</translation>
    </message>
    <message>
        <source>There is no such file.</source>
        <translation>Diese Datei gibt es nicht.</translation>
    </message>
    <message>
        <source>“.%1” is not among the formats: %2.</source>
        <translation>„.%1“ gehört nicht zu den Formaten: %2.</translation>
    </message>
    <message>
        <source>It cannot be written there: %1.</source>
        <translation>Dort lässt sie sich nicht schreiben: %1.</translation>
    </message>
    <message>
        <source>The file exists and will be replaced.</source>
        <translation>Die Datei gibt es schon; sie wird ersetzt.</translation>
    </message>
    <message>
        <source>C&amp;hoose…</source>
        <translation>&amp;Wählen…</translation>
    </message>
</context>
<context>
    <name>FileMenu</name>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Open…</source>
        <translation>Ö&amp;ffnen…</translation>
    </message>
    <message>
        <source>Open model files as one scene</source>
        <translation>Modelldateien als eine Szene öffnen</translation>
    </message>
    <message>
        <source>Open &amp;Built-in Scene</source>
        <translation>&amp;Eingebaute Szene öffnen</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;Stop Command</source>
        <translation>Befehl &amp;anhalten</translation>
    </message>
    <message>
        <source>Open &amp;Recent</source>
        <translation>&amp;Zuletzt geöffnet</translation>
    </message>
    <message>
        <source>Recent R&amp;esults</source>
        <translation>&amp;Letzte Ergebnisse</translation>
    </message>
</context>
<context>
    <name>FlagEditor</name>
    <message>
        <source>“%1” is on</source>
        <translation>„%1“ ist ein</translation>
    </message>
    <message>
        <source>“%1” is off</source>
        <translation>„%1“ ist aus</translation>
    </message>
    <message>
        <source>Ticked means on; the numbers in the description are the wrong way round.</source>
        <translation>Mit Haken heißt ein; die Zahlen in der Beschreibung sind vertauscht.</translation>
    </message>
</context>
<context>
    <name>GrabVideo</name>
    <message>
        <source>Parameter failure</source>
        <translation>Parameterfehler</translation>
    </message>
    <message>
        <source>Selected width or height is to small (min. 16)</source>
        <translation>Breite oder Höhe ist zu klein (mindestens 16)</translation>
    </message>
    <message>
        <source>There is no trajectory with steps to record</source>
        <translation>Es gibt keine Bewegung mit Schritten, die aufzunehmen wären</translation>
    </message>
    <message>
        <source>There is no active scene window selected</source>
        <translation>Es ist keine Ansicht ausgewählt</translation>
    </message>
    <message>
        <source>RAW-Video grabbing started</source>
        <translation>Aufnahme läuft</translation>
    </message>
    <message>
        <source>Video encoding started</source>
        <translation>Das Video wird kodiert</translation>
    </message>
    <message>
        <source>Video &apos;%1&apos; encoding done</source>
        <translation>Video „%1“ ist fertig</translation>
    </message>
    <message>
        <source>Video grabbing aborted</source>
        <translation>Videoaufnahme abgebrochen</translation>
    </message>
    <message>
        <source>Save Video</source>
        <translation>Video speichern</translation>
    </message>
    <message>
        <source>%1 frames, %2 encoded</source>
        <translation>%1 Bilder, %2 kodiert</translation>
    </message>
    <message>
        <source>%L1 of %L2 frames</source>
        <translation>%L1 von %L2 Bildern</translation>
    </message>
    <message>
        <source>A “.%1” file cannot have %2 frames per second</source>
        <translation>Eine „.%1“-Datei kann keine %2 Bilder je Sekunde haben</translation>
    </message>
    <message>
        <source>%1 frames per second until it is ended, %2 × %3</source>
        <translation>%1 Bilder je Sekunde, bis es beendet wird, %2 × %3</translation>
    </message>
    <message>
        <source>steps %1 to %2: %3 frames, %L4 s, %5 × %6</source>
        <translation>Schritte %1 bis %2: %3 Bilder, %L4 s, %5 × %6</translation>
    </message>
</context>
<context>
    <name>HelpMenu</name>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;Keys and Mouse</source>
        <translation>&amp;Tasten und Maus</translation>
    </message>
    <message>
        <source>&amp;About nubo</source>
        <translation>&amp;Über nubo</translation>
    </message>
    <message>
        <source>About &amp;Qt</source>
        <translation>Über &amp;Qt</translation>
    </message>
    <message>
        <source>Turn</source>
        <translation>Drehen</translation>
    </message>
    <message>
        <source>left button, or arrow keys</source>
        <translation>linke Taste oder Pfeiltasten</translation>
    </message>
    <message>
        <source>Move</source>
        <translation>Verschieben</translation>
    </message>
    <message>
        <source>middle button, or Shift with the left one or the arrow keys</source>
        <translation>mittlere Taste, oder Umschalt mit der linken oder den Pfeiltasten</translation>
    </message>
    <message>
        <source>Zoom</source>
        <translation>Vergrößern</translation>
    </message>
    <message>
        <source>wheel, right button, + and −</source>
        <translation>Rad, rechte Taste, + und −</translation>
    </message>
    <message>
        <source>Show all</source>
        <translation>Alles zeigen</translation>
    </message>
    <message>
        <source>double click, or Home</source>
        <translation>Doppelklick oder Pos1</translation>
    </message>
    <message>
        <source>Next panel</source>
        <translation>Nächste Ansicht</translation>
    </message>
    <message>
        <source>Show or hide the scene and the log</source>
        <translation>Szene und Protokoll zeigen oder verbergen</translation>
    </message>
    <message>
        <source>Play and pause</source>
        <translation>Abspielen und anhalten</translation>
    </message>
    <message>
        <source>Stop a command</source>
        <translation>Einen Befehl anhalten</translation>
    </message>
    <message>
        <source>Show in parallel</source>
        <translation>Parallel zeigen</translation>
    </message>
    <message>
        <source>Cut open</source>
        <translation>Aufschneiden</translation>
    </message>
    <message>
        <source>F7; then Ctrl and the left button</source>
        <translation>F7; dann Strg und linke Taste</translation>
    </message>
    <message>
        <source>Undo, redo</source>
        <translation>Rückgängig, Wiederholen</translation>
    </message>
    <message>
        <source>Copy the view</source>
        <translation>Die Ansicht kopieren</translation>
    </message>
    <message>
        <source>Close a message</source>
        <translation>Eine Meldung schließen</translation>
    </message>
    <message>
        <source>Keys and Mouse</source>
        <translation>Tasten und Maus</translation>
    </message>
</context>
<context>
    <name>History</name>
    <message>
        <source>&amp;Undo: %1</source>
        <translation>&amp;Rückgängig: %1</translation>
    </message>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Rückgängig</translation>
    </message>
    <message>
        <source>Re&amp;do: %1</source>
        <translation>&amp;Wiederholen: %1</translation>
    </message>
    <message>
        <source>Re&amp;do</source>
        <translation>&amp;Wiederholen</translation>
    </message>
</context>
<context>
    <name>ImportError</name>
    <message>
        <source>a bone is missing, so that &apos;%1&apos; keeps its form</source>
        <translation>ein Knochen fehlt, sodass „%1“ seine Form behält</translation>
    </message>
    <message>
        <source>the bone &apos;%1&apos; is missing, so that &apos;%2&apos; keeps its form</source>
        <translation>der Knochen „%1“ fehlt, sodass „%2“ seine Form behält</translation>
    </message>
    <message>
        <source>Camera</source>
        <translation>Kamera</translation>
    </message>
    <message>
        <source>Animation</source>
        <translation>Animation</translation>
    </message>
    <message>
        <source>its format is not known</source>
        <translation>sein Format ist nicht bekannt</translation>
    </message>
    <message>
        <source>its content is not understood</source>
        <translation>sein Inhalt ist nicht zu verstehen</translation>
    </message>
    <message>
        <source>it holds no geometry</source>
        <translation>sie enthält keine Geometrie</translation>
    </message>
    <message>
        <source>there is no such file</source>
        <translation>die Datei gibt es nicht</translation>
    </message>
    <message>
        <source>it is a directory</source>
        <translation>das ist ein Verzeichnis</translation>
    </message>
    <message>
        <source>it is not an ordinary file</source>
        <translation>das ist keine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>the file is empty</source>
        <translation>die Datei ist leer</translation>
    </message>
    <message>
        <source>the file is truncated or damaged: it announces %1 vertices, but has %2 bytes</source>
        <translation>die Datei ist abgeschnitten oder beschädigt: sie kündigt %1 Ecken an, hat aber %2 Bytes</translation>
    </message>
    <message>
        <source>none of its geometry has usable coordinates</source>
        <translation>nichts von ihrer Geometrie hat brauchbare Koordinaten</translation>
    </message>
    <message>
        <source>it takes more memory than there is</source>
        <translation>sie braucht mehr Speicher, als es gibt</translation>
    </message>
    <message>
        <source>cannot read &apos;%1&apos;: %2</source>
        <translation>„%1“ lässt sich nicht lesen: %2</translation>
    </message>
    <message>
        <source>PLY: unknown type &apos;%1&apos;</source>
        <translation>PLY: unbekannter Typ „%1“</translation>
    </message>
    <message>
        <source>the file is truncated: its header does not end</source>
        <translation>die Datei ist abgeschnitten: ihr Kopf endet nicht</translation>
    </message>
    <message>
        <source>PLY: a property is not understood</source>
        <translation>PLY: eine Eigenschaft ist nicht zu verstehen</translation>
    </message>
    <message>
        <source>the file is truncated</source>
        <translation>die Datei ist abgeschnitten</translation>
    </message>
    <message>
        <source>it has too many vertices</source>
        <translation>sie hat zu viele Ecken</translation>
    </message>
    <message>
        <source>the file is truncated: it announces %1 vertices, and has %2</source>
        <translation>die Datei ist abgeschnitten: sie kündigt %1 Ecken an und hat %2</translation>
    </message>
    <message>
        <source>PLY: the vertices have no x, y and z</source>
        <translation>PLY: den Ecken fehlen x, y und z</translation>
    </message>
    <message>
        <source>PLY: a face has a vertex that is not there</source>
        <translation>PLY: eine Fläche hat eine Ecke, die es nicht gibt</translation>
    </message>
    <message>
        <source>its nodes are nested too deeply</source>
        <translation>ihre Knoten sind zu tief verschachtelt</translation>
    </message>
    <message>
        <source>the file is no STL file, or it is truncated: it announces %1 triangles, which take %2 bytes, but has %3 bytes</source>
        <translation>die Datei ist keine STL-Datei oder abgeschnitten: sie kündigt %1 Dreiecke an, die %2 Bytes brauchen, hat aber %3 Bytes</translation>
    </message>
    <message>
        <source>it has too many triangles</source>
        <translation>sie hat zu viele Dreiecke</translation>
    </message>
    <message>
        <source>the texture &apos;%1&apos; is missing</source>
        <translation>die Textur „%1“ fehlt</translation>
    </message>
    <message>
        <source>the texture &apos;%1&apos; cannot be read: %2</source>
        <translation>die Textur „%1“ lässt sich nicht lesen: %2</translation>
    </message>
    <message>
        <source>the embedded texture &apos;%1&apos; cannot be read: %2</source>
        <translation>die eingebettete Textur „%1“ lässt sich nicht lesen: %2</translation>
    </message>
    <message>
        <source>the file is damaged: its faces or bones do not fit its vertices</source>
        <translation>die Datei ist beschädigt: ihre Flächen oder Knochen passen nicht zu ihren Ecken</translation>
    </message>
    <message>
        <source>the library that reads it cannot be loaded: %1</source>
        <translation>die Bibliothek, die sie liest, kann nicht geladen werden: %1</translation>
    </message>
    <message>
        <source>the file was cut short while it was read</source>
        <translation>die Datei wurde gekürzt, während sie gelesen wurde</translation>
    </message>
    <message>
        <source>its reader &apos;%1&apos; hands over what makes no sense</source>
        <translation>ihr Leser „%1“ übergibt, was keinen Sinn ergibt</translation>
    </message>
    <message>
        <source>it has too many faces</source>
        <translation>sie hat zu viele Flächen</translation>
    </message>
    <message>
        <source>the library that reads it is no reader</source>
        <translation>die Bibliothek, die sie lesen soll, ist kein Leser</translation>
    </message>
    <message>
        <source>the library that reads it is for another version of nubo</source>
        <translation>die Bibliothek, die sie liest, gehört zu einer anderen Fassung von nubo</translation>
    </message>
    <message>
        <source>the file is damaged: it has fewer bytes than its parts need</source>
        <translation>die Datei ist beschädigt: Sie hat weniger Bytes, als ihre Teile brauchen</translation>
    </message>
    <message>
        <source>the file is damaged: it names what it does not have</source>
        <translation>die Datei ist beschädigt: Sie nennt, was sie nicht hat</translation>
    </message>
    <message>
        <source>the file is damaged: a node has two parents</source>
        <translation>die Datei ist beschädigt: Ein Knoten hat zwei Eltern</translation>
    </message>
    <message>
        <source>it requires the extension %1, which is not known</source>
        <translation>sie verlangt die Erweiterung %1, die nicht bekannt ist</translation>
    </message>
    <message>
        <source>the extension %1 is not known, and left out</source>
        <translation>die Erweiterung %1 ist nicht bekannt und wird weggelassen</translation>
    </message>
    <message>
        <source>glTF files above 4 GB cannot be read</source>
        <translation>glTF-Dateien über 4 GB können nicht gelesen werden</translation>
    </message>
    <message>
        <source>it is damaged, or no glTF: %1</source>
        <translation>sie ist beschädigt oder kein glTF: %1</translation>
    </message>
    <message>
        <source>its text is nested too deeply</source>
        <translation>ihr Text ist zu tief verschachtelt</translation>
    </message>
    <message>
        <source>what Draco packed is damaged: %1</source>
        <translation>was Draco gepackt hat, ist beschädigt: %1</translation>
    </message>
    <message>
        <source>its reader cannot be started: %1</source>
        <translation>ihr Leser kann nicht gestartet werden: %1</translation>
    </message>
    <message>
        <source>reading was cancelled</source>
        <translation>das Lesen wurde abgebrochen</translation>
    </message>
    <message>
        <source>its reader &apos;%1&apos; got no further for %2 s, and was ended</source>
        <translation>ihr Leser „%1“ kam %2 s lang nicht weiter und wurde beendet</translation>
    </message>
    <message>
        <source>its reader &apos;%1&apos; was not done after %2 s, and was ended</source>
        <translation>ihr Leser „%1“ war nach %2 s nicht fertig und wurde beendet</translation>
    </message>
    <message>
        <source>its reader &apos;%1&apos; does not say why</source>
        <translation>ihr Leser „%1“ sagt nicht, warum</translation>
    </message>
    <message>
        <source>its reader &apos;%1&apos; ended unexpectedly</source>
        <translation>ihr Leser „%1“ endete unerwartet</translation>
    </message>
    <message>
        <source>its reader does not let go of what it has read</source>
        <translation>ihr Leser gibt nicht frei, was er gelesen hat</translation>
    </message>
    <message>
        <source>it is no list of points</source>
        <translation>sie ist keine Liste von Punkten</translation>
    </message>
    <message>
        <source>it cannot be opened</source>
        <translation>sie lässt sich nicht öffnen</translation>
    </message>
    <message>
        <source>the file is truncated: it announces %1 points, but has %2</source>
        <translation>die Datei ist abgeschnitten: sie kündigt %1 Punkte an, hat aber %2</translation>
    </message>
    <message>
        <source>the file is truncated: it announces %1 points, but has room for %2</source>
        <translation>die Datei ist abgeschnitten: sie kündigt %1 Punkte an, hat aber Platz für %2</translation>
    </message>
    <message>
        <source>the file is damaged: it holds more points than it announces</source>
        <translation>die Datei ist beschädigt: sie enthält mehr Punkte, als sie ankündigt</translation>
    </message>
    <message>
        <source>%1 points have no place, and are left out</source>
        <translation>%1 Punkte haben keinen Ort und fehlen</translation>
    </message>
    <message>
        <source>%1 lines hold no point, and are left out</source>
        <translation>%1 Zeilen enthalten keinen Punkt und fehlen</translation>
    </message>
    <message>
        <source>%1 surfaces could not be approximated, and are left out</source>
        <translation>%1 Flächen konnten nicht angenähert werden und fehlen</translation>
    </message>
    <message>
        <source>its part &apos;%1&apos; is missing</source>
        <translation>ihr Teil &apos;%1&apos; fehlt</translation>
    </message>
</context>
<context>
    <name>JointFile</name>
    <message>
        <source>&apos;%1&apos; is not a number</source>
        <translation>„%1“ ist keine Zahl</translation>
    </message>
    <message>
        <source>cannot read &apos;%1&apos;: %2</source>
        <translation>„%1“ lässt sich nicht lesen: %2</translation>
    </message>
    <message>
        <source>%1 values stand where %2 are expected</source>
        <translation>%1 Werte stehen, wo %2 erwartet werden</translation>
    </message>
    <message>
        <source>line %1: %2</source>
        <translation>Zeile %1: %2</translation>
    </message>
    <message>
        <source>it moves no joint</source>
        <translation>sie bewegt kein Gelenk</translation>
    </message>
</context>
<context>
    <name>JointSliders</name>
    <message>
        <source>Joints</source>
        <translation>Gelenke</translation>
    </message>
    <message>
        <source> m</source>
        <comment>metres</comment>
        <translation> m</translation>
    </message>
</context>
<context>
    <name>LogModel</name>
    <message>
        <source>Severe</source>
        <translation>Schwerwiegend</translation>
    </message>
    <message>
        <source>Failure</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Milestone</source>
        <translation>Meilenstein</translation>
    </message>
    <message>
        <source>Note</source>
        <translation>Hinweis</translation>
    </message>
    <message>
        <source>Debug</source>
        <translation>Diagnose</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Level</source>
        <translation>Stufe</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>Meldung</translation>
    </message>
    <message>
        <source>Source</source>
        <translation>Quelle</translation>
    </message>
</context>
<context>
    <name>LogView</name>
    <message>
        <source>Show down &amp;to:</source>
        <translation>Zeigen &amp;bis:</translation>
    </message>
    <message>
        <source>C&amp;lear</source>
        <translation>&amp;Leeren</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Scene</source>
        <translation>Szene</translation>
    </message>
    <message>
        <source>Log</source>
        <translation>Meldungsprotokoll</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>View</source>
        <translation>Ansicht</translation>
    </message>
    <message>
        <source>&amp;Trajectory</source>
        <translation>&amp;Bahn</translation>
    </message>
    <message>
        <source>The change waits for a command that keeps the scene as it is.</source>
        <translation>Die Änderung wartet auf einen Befehl, der die Szene festhält.</translation>
    </message>
    <message>
        <source>The window closes when the running commands have ended.</source>
        <translation>Das Fenster schließt sich, wenn die laufenden Befehle fertig sind.</translation>
    </message>
    <message>
        <source>Only files of this computer can be opened.</source>
        <translation>Nur Dateien dieses Rechners können geöffnet werden.</translation>
    </message>
    <message>
        <source>Section</source>
        <translation>Schnitt</translation>
    </message>
    <message>
        <source>Joints</source>
        <translation>Gelenke</translation>
    </message>
    <message>
        <source>Show and Hide</source>
        <translation>Zeigen und Ausblenden</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>Bea&amp;rbeiten</translation>
    </message>
</context>
<context>
    <name>MessageBar</name>
    <message>
        <source>Show &amp;Log</source>
        <translation>&amp;Protokoll zeigen</translation>
    </message>
    <message>
        <source>Close this message</source>
        <translation>Diese Meldung schließen</translation>
    </message>
    <message numerus="yes">
        <source>%1 (and %n more)</source>
        <translation>
            <numerusform>%1 (und %n weitere)</numerusform>
            <numerusform>%1 (und %n weitere)</numerusform>
        </translation>
    </message>
    <message>
        <source>Messages</source>
        <translation>Meldungen</translation>
    </message>
</context>
<context>
    <name>NumberFile</name>
    <message>
        <source>%1 or %2</source>
        <translation>%1 oder %2</translation>
    </message>
    <message>
        <source>both &apos;,&apos; and &apos;;&apos; stand between its values; numbers are written with a point</source>
        <translation>zwischen ihren Werten stehen „,“ und „;“; Zahlen werden mit Punkt geschrieben</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is not a number</source>
        <translation>„%1“ ist keine Zahl</translation>
    </message>
    <message>
        <source>cannot read &apos;%1&apos;: %2</source>
        <translation>„%1“ ist nicht lesbar: %2</translation>
    </message>
    <message>
        <source>%1 values stand where %2 are expected</source>
        <translation>%1 Werte stehen, wo %2 erwartet werden</translation>
    </message>
    <message>
        <source>line %1: %2</source>
        <translation>Zeile %1: %2</translation>
    </message>
</context>
<context>
    <name>PanelArea</name>
    <message>
        <source>View %1</source>
        <translation>Ansicht %1</translation>
    </message>
</context>
<context>
    <name>PanelMenu</name>
    <message>
        <source>&amp;Panels</source>
        <translation>&amp;Fenster</translation>
    </message>
    <message>
        <source>New &amp;Tab</source>
        <translation>Neuer &amp;Reiter</translation>
    </message>
    <message>
        <source>Split to the &amp;Right</source>
        <translation>Nach re&amp;chts teilen</translation>
    </message>
    <message>
        <source>Split &amp;Downwards</source>
        <translation>Nach &amp;unten teilen</translation>
    </message>
    <message>
        <source>&amp;Next Panel</source>
        <translation>&amp;Nächste Ansicht</translation>
    </message>
    <message>
        <source>&amp;Close Panel</source>
        <translation>Ansicht &amp;schließen</translation>
    </message>
    <message>
        <source>S&amp;hape</source>
        <translation>F&amp;orm</translation>
    </message>
    <message>
        <source>&amp;Free</source>
        <translation>&amp;Frei</translation>
    </message>
    <message>
        <source>&amp;Square</source>
        <translation>&amp;Quadrat</translation>
    </message>
    <message>
        <source>A4, Landscape</source>
        <translation>A4 quer</translation>
    </message>
    <message>
        <source>A4, Portrait</source>
        <translation>A4 hoch</translation>
    </message>
</context>
<context>
    <name>ParameterDialog</name>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Speichern</translation>
    </message>
    <message>
        <source>&amp;Start</source>
        <translation>&amp;Start</translation>
    </message>
    <message>
        <source>&amp;Variant:</source>
        <translation>&amp;Variante:</translation>
    </message>
    <message numerus="yes">
        <source>&amp;Grab all %n saved views</source>
        <translation>
            <numerusform>&amp;Die gespeicherte Ansicht aufnehmen</numerusform>
            <numerusform>&amp;Alle %n gespeicherten Ansichten aufnehmen</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ParameterEditor</name>
    <message>
        <source>A value is needed here.</source>
        <translation>Hier fehlt ein Wert.</translation>
    </message>
</context>
<context>
    <name>ParameterPage</name>
    <message>
        <source>Another command is writing this file.</source>
        <translation>Ein anderer Befehl schreibt gerade diese Datei.</translation>
    </message>
    <message>
        <source>“%1” has to stand in the name, where each view has its own.</source>
        <translation>„%1“ muss im Namen stehen, wo jede Ansicht ihre eigene Datei hat.</translation>
    </message>
</context>
<context>
    <name>PixelEditor</name>
    <message>
        <source>A number of pixels, or a length on paper such as 180mm@300dpi</source>
        <translation>Eine Zahl von Pixeln oder eine Länge auf Papier wie 180mm@300dpi</translation>
    </message>
    <message>
        <source>Si&amp;zes</source>
        <translation>&amp;Größen</translation>
    </message>
    <message>
        <source>%1 mm at %2 dpi</source>
        <translation>%1 mm bei %2 dpi</translation>
    </message>
</context>
<context>
    <name>PointFile</name>
    <message>
        <source>cannot read &apos;%1&apos;: %2</source>
        <translation>„%1“ lässt sich nicht lesen: %2</translation>
    </message>
    <message>
        <source>it holds no points</source>
        <translation>sie enthält keine Punkte</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>Grab</source>
        <translation>Aufnahme</translation>
    </message>
    <message>
        <source>Image</source>
        <translation>Bild</translation>
    </message>
    <message>
        <source>Imagefilename to save grab</source>
        <translation>Dateiname des Bildes</translation>
    </message>
    <message>
        <source>Width of the grabbed image</source>
        <translation>Breite des Bildes</translation>
    </message>
    <message>
        <source>Save Image</source>
        <translation>Bild speichern</translation>
    </message>
    <message>
        <source>Grabbing image with %1 dpi</source>
        <translation>Bild mit %1 dpi wird aufgenommen</translation>
    </message>
    <message>
        <source>Building tiles</source>
        <translation>Kacheln werden gezeichnet</translation>
    </message>
    <message>
        <source>Saving image</source>
        <translation>Bild wird gespeichert</translation>
    </message>
    <message>
        <source>Video</source>
        <translation>Video</translation>
    </message>
    <message>
        <source>Filename to save video</source>
        <translation>Dateiname des Videos</translation>
    </message>
    <message>
        <source>Width of the video (0=window-width)</source>
        <translation>Breite des Videos (0 = Breite der Ansicht)</translation>
    </message>
    <message>
        <source>Height of the video (0=window-height)</source>
        <translation>Höhe des Videos (0 = Höhe der Ansicht)</translation>
    </message>
    <message>
        <source>If enabled (0=true, 1=false) then the grabbing will be synced with the collisionpath steps</source>
        <translation>Wenn ein, folgt die Aufnahme den Schritten der Bahn: ein Bild je Schritt</translation>
    </message>
    <message>
        <source>Video settings</source>
        <translation>Videoeinstellungen</translation>
    </message>
    <message>
        <source>The max. filesize of a temp. encoding chunk</source>
        <translation>Größte Zwischendatei beim Kodieren (MB)</translation>
    </message>
    <message>
        <source>Frames per second</source>
        <translation>Bilder pro Sekunde</translation>
    </message>
    <message>
        <source>Target bitrate in kbps</source>
        <translation>Angestrebte Bitrate in kbit/s</translation>
    </message>
    <message>
        <source>If enabled (1=true, 0=false) memory will be used first to buffer temporary data</source>
        <translation>Zwischendaten zuerst im Arbeitsspeicher halten</translation>
    </message>
    <message>
        <source>Couldn&apos;t write %1 bytes to temporary file</source>
        <translation>%1 Bytes konnten nicht in die Zwischendatei geschrieben werden</translation>
    </message>
    <message>
        <source>You can not grab videos with size %1 x %2 because your max. texture size is %3</source>
        <translation>Videos von %1 x %2 gehen nicht: die größte Textur ist %3</translation>
    </message>
    <message>
        <source>No encoder for file &apos;%1&apos; found</source>
        <translation>Kein Encoder für die Datei „%1“ gefunden</translation>
    </message>
    <message>
        <source>Another recording is writing the file &apos;%1&apos;</source>
        <translation>In die Datei „%1“ schreibt schon eine andere Aufnahme</translation>
    </message>
    <message>
        <source>There is no active scene window selected</source>
        <translation>Kein Szenenfenster ist aktiv</translation>
    </message>
    <message>
        <source>Selected width or height is to small (min. 16)</source>
        <translation>Breite oder Höhe ist zu klein (mindestens 16)</translation>
    </message>
    <message>
        <source>Could not create OpenGL context!</source>
        <translation>Der OpenGL-Kontext konnte nicht erzeugt werden!</translation>
    </message>
    <message>
        <source>Current OpenGL context is invalid!</source>
        <translation>Der OpenGL-Kontext ist ungültig!</translation>
    </message>
    <message>
        <source>Could not determine the maximum texture size</source>
        <translation>Die größte Texturgröße war nicht festzustellen</translation>
    </message>
    <message>
        <source>Your OpenGL implementation doesn&apos;t support framebuffer objects</source>
        <translation>Diese OpenGL-Umsetzung kennt keine Framebuffer-Objekte</translation>
    </message>
    <message>
        <source>Picture couldn&apos;t be grabbed by FBO</source>
        <translation>Das Bild konnte nicht aus dem Framebuffer gelesen werden</translation>
    </message>
    <message>
        <source>Couldn&apos;t bind FBO to OpenGL context</source>
        <translation>Der Framebuffer konnte nicht gebunden werden</translation>
    </message>
    <message>
        <source>Target picture (%1 x %2) size is to small!</source>
        <translation>Ein Bild von %1 × %2 Pixeln ist zu klein.</translation>
    </message>
    <message>
        <source>No valid image file extension selected</source>
        <translation>Keine gültige Endung für eine Bilddatei gewählt</translation>
    </message>
    <message>
        <source>A picture of %1 × %2 pixels takes %L3 MB of memory; %L4 MB are free.</source>
        <translation>Ein Bild von %1 × %2 Pixeln braucht %L3 MB Speicher; %L4 MB sind frei.</translation>
    </message>
    <message>
        <source>A picture of %1 × %2 pixels does not fit into a “.%3” file; choose a smaller width, or another format.</source>
        <translation>Ein Bild von %1 × %2 Pixeln passt nicht in eine „.%3“-Datei; wählen Sie eine kleinere Breite oder ein anderes Format.</translation>
    </message>
    <message>
        <source>%L1 × %L2 pixels, about %L3 MB while it is built</source>
        <translation>%L1 × %L2 Pixel, etwa %L3 MB, solange es gezeichnet wird</translation>
    </message>
    <message>
        <source>nothing was written</source>
        <translation>es wurde nichts geschrieben</translation>
    </message>
    <message>
        <source>; all that follows the first dot of a name is its format: call it &apos;%1.%2&apos;</source>
        <translation>; alles nach dem ersten Punkt des Namens ist das Format: Nennen Sie sie &apos;%1.%2&apos;</translation>
    </message>
    <message>
        <source>; there are encoders for %1</source>
        <translation>; es gibt Encoder für %1</translation>
    </message>
</context>
<context>
    <name>ResultView</name>
    <message numerus="yes">
        <source>%n frames</source>
        <translation>
            <numerusform>%n Bild</numerusform>
            <numerusform>%n Bilder</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>Not complete: %1</source>
        <translation>Nicht vollständig: %1</translation>
    </message>
    <message>
        <source>%1 × %2 pixels</source>
        <translation>%1 × %2 Pixel</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <translation>Ö&amp;ffnen</translation>
    </message>
    <message>
        <source>Show in &amp;Folder</source>
        <translation>Im &amp;Ordner zeigen</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Kopieren</translation>
    </message>
    <message>
        <source>&amp;Again</source>
        <translation>No&amp;ch einmal</translation>
    </message>
    <message>
        <source>The same once more, of what is shown now, in a new file</source>
        <translation>Dasselbe noch einmal von dem, was jetzt zu sehen ist, in eine neue Datei</translation>
    </message>
    <message>
        <source>Is being made…</source>
        <translation>Entsteht …</translation>
    </message>
    <message>
        <source>No file was made.</source>
        <translation>Es ist keine Datei entstanden.</translation>
    </message>
</context>
<context>
    <name>RunningCommands</name>
    <message>
        <source>Stop</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>“%1” cannot be stopped; it ends by itself</source>
        <translation>„%1“ lässt sich nicht anhalten und endet von selbst</translation>
    </message>
    <message>
        <source>Ask “%1” to end now (%2)</source>
        <translation>„%1“ jetzt beenden lassen (%2)</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>%1, %2 left</source>
        <translation>%1, noch %2</translation>
    </message>
</context>
<context>
    <name>SavedViews</name>
    <message>
        <source>Camera “%1”</source>
        <translation>Kamera „%1“</translation>
    </message>
    <message>
        <source>Sa&amp;ved Views</source>
        <translation>Gespei&amp;cherte Ansichten</translation>
    </message>
    <message>
        <source>&amp;Delete</source>
        <translation>&amp;Löschen</translation>
    </message>
    <message>
        <source>&amp;Save View…</source>
        <translation>Ansicht &amp;speichern…</translation>
    </message>
    <message>
        <source>Save View</source>
        <translation>Ansicht speichern</translation>
    </message>
    <message>
        <source>Name of the view (one of the same name is replaced):</source>
        <translation>Name der Ansicht (eine gleichen Namens wird ersetzt):</translation>
    </message>
    <message>
        <source>View %1</source>
        <translation>Ansicht %1</translation>
    </message>
</context>
<context>
    <name>SceneLoader</name>
    <message numerus="yes">
        <source>%1 and %n more</source>
        <translation>
            <numerusform>%1 und %n weitere</numerusform>
            <numerusform>%1 und %n weitere</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SceneOpener</name>
    <message>
        <source>Built-in scene</source>
        <translation>Eingebaute Szene</translation>
    </message>
    <message>
        <source>Open Models</source>
        <translation>Modelle öffnen</translation>
    </message>
    <message>
        <source>Models (%1)</source>
        <translation>Modelle (%1)</translation>
    </message>
    <message>
        <source>All Files (*)</source>
        <translation>Alle Dateien (*)</translation>
    </message>
    <message>
        <source>Reading %1</source>
        <translation>%1 wird gelesen</translation>
    </message>
    <message>
        <source>%1 is read, and will be shown when no command runs any more.</source>
        <translation>%1 ist gelesen und wird gezeigt, sobald kein Befehl mehr läuft.</translation>
    </message>
    <message numerus="yes">
        <source>%1 (and %n more)</source>
        <translation>
            <numerusform>%1 (und %n weitere)</numerusform>
            <numerusform>%1 (und %n weitere)</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ScenePane</name>
    <message>
        <source>Filter by name</source>
        <translation>Nach Namen filtern</translation>
    </message>
</context>
<context>
    <name>SceneTree</name>
    <message>
        <source>(unnamed)</source>
        <translation>(ohne Namen)</translation>
    </message>
    <message>
        <source>Scene elements</source>
        <translation>Elemente der Szene</translation>
    </message>
    <message>
        <source>&amp;Fit View</source>
        <translation>&amp;Ansicht einpassen</translation>
    </message>
    <message>
        <source>&amp;Hide</source>
        <translation>Aus&amp;blenden</translation>
    </message>
    <message>
        <source>&amp;Show</source>
        <translation>&amp;Zeigen</translation>
    </message>
    <message>
        <source>Show &amp;Only This</source>
        <translation>&amp;Nur dies zeigen</translation>
    </message>
    <message>
        <source>Hide &amp;Nothing</source>
        <translation>Nich&amp;ts ausblenden</translation>
    </message>
    <message>
        <source>&amp;Colour…</source>
        <translation>&amp;Farbe …</translation>
    </message>
</context>
<context>
    <name>SectionBar</name>
    <message>
        <source>Section</source>
        <translation>Schnitt</translation>
    </message>
    <message>
        <source>Sectio&amp;n</source>
        <translation>Schni&amp;tt</translation>
    </message>
    <message>
        <source>Direction of the section</source>
        <translation>Richtung des Schnitts</translation>
    </message>
    <message>
        <source>Section across x</source>
        <translation>Schnitt quer zu x</translation>
    </message>
    <message>
        <source>Section across y</source>
        <translation>Schnitt quer zu y</translation>
    </message>
    <message>
        <source>Section across z</source>
        <translation>Schnitt quer zu z</translation>
    </message>
    <message>
        <source>Section through three points…</source>
        <translation>Schnitt durch drei Punkte …</translation>
    </message>
    <message>
        <source>Position of the section</source>
        <translation>Lage des Schnitts</translation>
    </message>
    <message>
        <source>Or drag in a view with the control key held</source>
        <translation>Oder mit gedrückter Strg-Taste in einer Ansicht ziehen</translation>
    </message>
    <message>
        <source>Coordinate of the section</source>
        <translation>Koordinate des Schnitts</translation>
    </message>
    <message>
        <source>Flip</source>
        <translation>Umkehren</translation>
    </message>
    <message>
        <source>Takes away the other side</source>
        <translation>Nimmt die andere Seite weg</translation>
    </message>
    <message>
        <source>Click three points of the model</source>
        <translation>Drei Punkte des Modells anklicken</translation>
    </message>
    <message>
        <source> m</source>
        <comment>metres</comment>
        <translation> m</translation>
    </message>
    <message>
        <source> units</source>
        <translation> Einheiten</translation>
    </message>
    <message>
        <source>Click two more points</source>
        <translation>Noch zwei Punkte anklicken</translation>
    </message>
    <message>
        <source>Click one more point</source>
        <translation>Noch einen Punkt anklicken</translation>
    </message>
</context>
<context>
    <name>SettingsFold</name>
    <message>
        <source>They are stored, and hold for all that follows</source>
        <translation>Sie werden gespeichert und gelten für alles Folgende</translation>
    </message>
</context>
<context>
    <name>SettingsMenu</name>
    <message>
        <source>&amp;Settings</source>
        <translation>&amp;Einstellungen</translation>
    </message>
    <message>
        <source>&amp;Edge Smoothing</source>
        <translation>&amp;Kantenglättung</translation>
    </message>
    <message numerus="yes">
        <source>%n Samples</source>
        <translation>
            <numerusform>%n Abtastpunkt</numerusform>
            <numerusform>%n Abtastpunkte</numerusform>
        </translation>
    </message>
    <message>
        <source>None</source>
        <translation>Keine</translation>
    </message>
    <message>
        <source>&amp;Appearance</source>
        <translation>&amp;Erscheinungsbild</translation>
    </message>
    <message>
        <source>As the &amp;System</source>
        <translation>Wie das &amp;System</translation>
    </message>
    <message>
        <source>&amp;Light</source>
        <translation>&amp;Hell</translation>
    </message>
    <message>
        <source>&amp;Dark</source>
        <translation>&amp;Dunkel</translation>
    </message>
</context>
<context>
    <name>Trajectory</name>
    <message>
        <source>nothing in the scene is animated</source>
        <translation>nichts in der Szene ist animiert</translation>
    </message>
    <message>
        <source>the frame rate must be above 0</source>
        <translation>die Bildrate muss über 0 liegen</translation>
    </message>
    <message>
        <source>the animation is too long</source>
        <translation>die Animation ist zu lang</translation>
    </message>
    <message>
        <source>the scene has nothing that could move</source>
        <translation>in der Szene gibt es nichts, was sich bewegen könnte</translation>
    </message>
</context>
<context>
    <name>TrajectoryBar</name>
    <message>
        <source>Trajectory</source>
        <translation>Bahn</translation>
    </message>
    <message>
        <source>What moves the scene</source>
        <translation>Was die Szene bewegt</translation>
    </message>
    <message>
        <source>&amp;First Step</source>
        <translation>&amp;Erster Schritt</translation>
    </message>
    <message>
        <source>Step &amp;Back</source>
        <translation>Schritt &amp;zurück</translation>
    </message>
    <message>
        <source>&amp;Play</source>
        <translation>&amp;Abspielen</translation>
    </message>
    <message>
        <source>Step F&amp;orward</source>
        <translation>Schritt &amp;vor</translation>
    </message>
    <message>
        <source>&amp;Last Step</source>
        <translation>&amp;Letzter Schritt</translation>
    </message>
    <message>
        <source>Step of the trajectory</source>
        <translation>Schritt der Bahn</translation>
    </message>
    <message>
        <source>Turntable</source>
        <translation>Drehteller</translation>
    </message>
    <message>
        <source>Animation</source>
        <translation>Animation</translation>
    </message>
    <message>
        <source>Animation “%1”</source>
        <translation>Animation „%1“</translation>
    </message>
    <message>
        <source>Points from a File…</source>
        <translation>Punkte aus einer Datei…</translation>
    </message>
    <message>
        <source>Nothing</source>
        <translation>Nichts</translation>
    </message>
    <message>
        <source>Points of a Trajectory</source>
        <translation>Punkte einer Bahn</translation>
    </message>
    <message>
        <source>Points (*.csv *.txt);;All Files (*)</source>
        <translation>Punkte (*.csv *.txt);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>&amp;Pause</source>
        <translation>&amp;Pause</translation>
    </message>
    <message>
        <source>Camera Path from a File…</source>
        <translation>Kameraweg aus einer Datei …</translation>
    </message>
    <message>
        <source>Path of the Camera</source>
        <translation>Weg der Kamera</translation>
    </message>
</context>
<context>
    <name>ViewMenu</name>
    <message>
        <source>&amp;Light From Panorama…</source>
        <translation>&amp;Licht eines Panoramas…</translation>
    </message>
    <message>
        <source>Light From Panorama</source>
        <translation>Licht eines Panoramas</translation>
    </message>
    <message>
        <source>Panoramas (*.hdr *.png *.jpg *.jpeg *.tif *.tiff *.webp)</source>
        <translation>Panoramen (*.hdr *.png *.jpg *.jpeg *.tif *.tiff *.webp)</translation>
    </message>
    <message>
        <source>Light of the St&amp;udio</source>
        <translation>Licht des St&amp;udios</translation>
    </message>
    <message>
        <source>“%1” could not be read: %2</source>
        <translation>„%1“ konnte nicht gelesen werden: %2</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>Show &amp;All</source>
        <translation>&amp;Alles zeigen</translation>
    </message>
    <message>
        <source>Show &amp;Selected Element</source>
        <translation>A&amp;usgewähltes Element zeigen</translation>
    </message>
    <message>
        <source>Zoom &amp;In</source>
        <translation>Ver&amp;größern</translation>
    </message>
    <message>
        <source>Zoom &amp;Out</source>
        <translation>Ver&amp;kleinern</translation>
    </message>
    <message>
        <source>&amp;Front</source>
        <translation>&amp;Vorn</translation>
    </message>
    <message>
        <source>Bac&amp;k</source>
        <translation>&amp;Hinten</translation>
    </message>
    <message>
        <source>&amp;Left</source>
        <translation>&amp;Links</translation>
    </message>
    <message>
        <source>&amp;Right</source>
        <translation>&amp;Rechts</translation>
    </message>
    <message>
        <source>&amp;Top</source>
        <translation>&amp;Oben</translation>
    </message>
    <message>
        <source>&amp;Bottom</source>
        <translation>U&amp;nten</translation>
    </message>
    <message>
        <source>Obli&amp;que</source>
        <translation>&amp;Schräg</translation>
    </message>
    <message>
        <source>Orthogra&amp;phic</source>
        <translation>&amp;Parallelprojektion</translation>
    </message>
    <message>
        <source>&amp;Drawn As</source>
        <translation>&amp;Dargestellt als</translation>
    </message>
    <message>
        <source>&amp;Studio</source>
        <translation>&amp;Studio</translation>
    </message>
    <message>
        <source>&amp;Plain</source>
        <translation>&amp;Einfach</translation>
    </message>
    <message>
        <source>&amp;Clay</source>
        <translation>&amp;Ton</translation>
    </message>
    <message>
        <source>&amp;Technical</source>
        <translation>Te&amp;chnisch</translation>
    </message>
    <message>
        <source>Edges of Surfaces</source>
        <translation>Kanten von Flächen</translation>
    </message>
    <message>
        <source>Shades Between Surfaces</source>
        <translation>Schatten zwischen Flächen</translation>
    </message>
    <message>
        <source>Shadow on the Ground</source>
        <translation>Schatten auf dem Boden</translation>
    </message>
    <message>
        <source>F&amp;ull Screen</source>
        <translation>Voll&amp;bild</translation>
    </message>
    <message>
        <source>Cop&amp;y as Picture</source>
        <translation>Als Bild kopieren</translation>
    </message>
    <message>
        <source>&amp;Margin</source>
        <translation>&amp;Freier Rand</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1 %</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Keiner</translation>
    </message>
</context>
<context>
    <name>ViewPanel</name>
    <message>
        <source>3-D view</source>
        <translation>3-D-Ansicht</translation>
    </message>
    <message>
        <source>Drop model files here, or open them with %1</source>
        <translation>Modelldateien hierher ziehen oder mit %1 öffnen</translation>
    </message>
</context>
<context>
    <name>ViewSeries</name>
    <message>
        <source>“%1” cannot be run now, or does not take these values.</source>
        <translation>„%1“ kann jetzt nicht ausgeführt werden oder nimmt diese Werte nicht an.</translation>
    </message>
</context>
<context>
    <name>nubo::app</name>
    <message>
        <source>&quot;%1&quot; is neither a number of pixels nor a length on paper, such as 180mm@300dpi</source>
        <translation>„%1“ ist weder eine Zahl von Pixeln noch eine Länge auf Papier wie 180mm@300dpi</translation>
    </message>
    <message>
        <source>&quot;%1&quot;: the resolution is from %2 to %3 dpi</source>
        <translation>„%1“: Die Auflösung geht von %2 bis %3 dpi</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is less than a pixel</source>
        <translation>„%1“ ist weniger als ein Pixel</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is too many pixels</source>
        <translation>„%1“ sind zu viele Pixel</translation>
    </message>
</context>
<context>
    <name>nubo::window::PixelEditor</name>
    <message>
        <source>1080p</source>
        <translation>1080p</translation>
    </message>
    <message>
        <source>4K</source>
        <translation>4K</translation>
    </message>
    <message>
        <source>Square</source>
        <translation>Quadrat</translation>
    </message>
    <message>
        <source>A4, 300 dpi</source>
        <translation>A4, 300 dpi</translation>
    </message>
    <message>
        <source>A4, 600 dpi</source>
        <translation>A4, 600 dpi</translation>
    </message>
    <message>
        <source>A3, 300 dpi</source>
        <translation>A3, 300 dpi</translation>
    </message>
    <message>
        <source>A3, 600 dpi</source>
        <translation>A3, 600 dpi</translation>
    </message>
</context>
</TS>
