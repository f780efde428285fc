<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en_GB">
<context>
    <name>QVTransfer</name>
    <message id="CHOOSE_DEVICE_title">
        <source>Choose a Device</source>
        <translation>Gerät auswählen</translation>
    </message>
    <message id="CHOOSE_FILES_TO_UPLOAD_title">
        <source>Choose Files to Upload</source>
        <translation>Dateien zum Hochladen auswählen</translation>
    </message>
    <message id="CHOOSE_USER_title">
        <source>Choose a User</source>
        <translation>Benutzer auswählen</translation>
    </message>
    <message id="UPLOADING_FILES_TO_title">
        <source>Upload Files to %@</source>
        <extracomment>%@ is replaced by the name of the device. Heading shown when the device has not been used for uploads yet.</extracomment>
        <translation>Dateien auf %@ hochladen</translation>
    </message>
    <message id="UPLOAD_ERRORS_title">
        <source>Upload Errors (%@)</source>
        <extracomment>Heading of the error window. %@ is replaced by the number of items that failed.</extracomment>
        <translation>Fehler beim Hochladen (%@)</translation>
    </message>
    <message id="UPLOAD_ERROR_title">
        <source>Upload Error</source>
        <translation>Fehler beim Hochladen</translation>
    </message>
    <message id="CHOOSE_UPLOAD_LOCATION_title">
        <source>Choose a Location on %@</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Speicherort auf %@ auswählen</translation>
    </message>
    <message id="CHOOSE_FILE_HYPERLINK_btn">
        <source>choose files</source>
        <extracomment>Link that follows the drop-area text ending in “or”.</extracomment>
        <translation>Dateien auswählen</translation>
    </message>
    <message id="CHOOSE_FOLDERS_FILES_HYPERLINK_btn">
        <source>choose folders and files</source>
        <extracomment>Link that follows the drop-area text ending in “or”.</extracomment>
        <translation>Ordner und Dateien auswählen</translation>
    </message>
    <message id="DEVICE_NOT_APPEARING_HYPERLINK_btn">
        <source>Don’t see your device?</source>
        <translation>Ihr Gerät wird nicht angezeigt?</translation>
    </message>
    <message id="CREATE_NEW_FOLDER_btn">
        <source>Create new folder</source>
        <translation>Neuen Ordner erstellen</translation>
    </message>
    <message id="REMOVE_FILES_btn">
        <source>Remove files from this computer after uploading</source>
        <extracomment>Check box on the file selection screen.</extracomment>
        <translation>Dateien nach dem Hochladen von diesem Computer entfernen</translation>
    </message>
    <message id="KEEP_UPLOADING_btn">
        <source>Keep Uploading</source>
        <translation>Weiter hochladen</translation>
    </message>
    <message id="STOP_UPLOAD_btn">
        <source>Stop Upload</source>
        <translation>Upload stoppen</translation>
    </message>
    <message id="BACK_btn">
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message id="NEXT_btn">
        <source>Next</source>
        <translation>Weiter</translation>
    </message>
    <message id="CANCEL_btn">
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message id="CLOSE_btn">
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message id="STOP_btn">
        <source>Stop</source>
        <translation>Stoppen</translation>
    </message>
    <message id="OK_btn">
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message id="NO_btn">
        <source>No</source>
        <translation>Nein</translation>
    </message>
    <message id="YES_btn">
        <source>Yes</source>
        <translation>Ja</translation>
    </message>
    <message id="HIDE_btn">
        <source>Hide</source>
        <translation>Ausblenden</translation>
    </message>
    <message id="UPLOAD_btn">
        <source>Upload</source>
        <translation>Hochladen</translation>
    </message>
    <message id="CONTINUE_UPLOAD_btn">
        <source>Continue</source>
        <translation>Fortfahren</translation>
    </message>
    <message id="VIEW_NOW_btn">
        <source>View now</source>
        <extracomment>Link placed right after the count of files that were not uploaded.</extracomment>
        <translation>Jetzt ansehen</translation>
    </message>
    <message id="HIDE_DETAILS_btn">
        <source>Hide Details</source>
        <translation>Details ausblenden</translation>
    </message>
    <message id="SHOW_DETAILS_btn">
        <source>Show Details</source>
        <translation>Details einblenden</translation>
    </message>
    <message id="DISMISS_ALL_btn">
        <source>Dismiss All</source>
        <translation>Alle verwerfen</translation>
    </message>
    <message id="RETRY_ALL_btn">
        <source>Retry All</source>
        <translation>Alle wiederholen</translation>
    </message>
    <message id="LOST_CONNECTION_CANCEL_btn">
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message id="LOST_CONNECTION_RETRY_btn">
        <source>Try Again</source>
        <translation>Erneut versuchen</translation>
    </message>
    <message id="UPLOADING_FILES_TO_txt">
        <source>Upload Files to %@</source>
        <extracomment>%@ is replaced by the name of the device. The window's heading, as UPLOADING_FILES_TO_title is on the first screen of a device not used yet: both in title case.</extracomment>
        <translation>Dateien auf %@ hochladen</translation>
    </message>
    <message id="NEW_FOLDER_txt">
        <source>New Folder</source>
        <extracomment>Default name of a newly created folder.</extracomment>
        <translation>Neuer Ordner</translation>
    </message>
    <message id="SEARCHING_NETWORK_txt">
        <source>Searching the network…</source>
        <translation>Netzwerk wird durchsucht…</translation>
    </message>
    <message id="CHOOSE_DEVICE_TO_UPLOAD_txt">
        <source>Choose the device you want to upload your files to.</source>
        <translation>Wählen Sie das Gerät aus, auf das Sie Ihre Dateien hochladen möchten.</translation>
    </message>
    <message id="SEARCHING_txt">
        <source>Searching…</source>
        <translation>Suche läuft…</translation>
    </message>
    <message id="SEARCHING_FOR_DEVICES_txt">
        <source>Searching for devices…</source>
        <translation>Geräte werden gesucht…</translation>
    </message>
    <message id="UPLOADING_MULTIPLE_FILES_txt">
        <source>Uploading file %@ of %@</source>
        <extracomment>First %@: number of the file being uploaded; second %@: total number of files.</extracomment>
        <translation>Datei %@ von %@ wird hochgeladen</translation>
    </message>
    <message id="UPLOADING_ONE_FILE_txt">
        <source>Uploading one file</source>
        <translation>Eine Datei wird hochgeladen</translation>
    </message>
    <message id="UPLOAD_PAUSED_txt">
        <source>Upload paused</source>
        <translation>Upload angehalten</translation>
    </message>
    <message id="ESTIMATED_TIME_REMAINING_txt">
        <source>Estimated time remaining: </source>
        <extracomment>Followed directly by “calculating…” or by the estimate; keep the trailing space.</extracomment>
        <translation>Geschätzte Restzeit: </translation>
    </message>
    <message id="UPLOAD_COMPLETE_txt">
        <source>Upload complete</source>
        <translation>Upload abgeschlossen</translation>
    </message>
    <message id="ALL_FILES_SUCCESSFULLY_UPLOADED_txt">
        <source>All files were uploaded successfully.</source>
        <translation>Alle Dateien wurden erfolgreich hochgeladen.</translation>
    </message>
    <message id="SOME_FILES_SUCCESSFULLY_UPLOADED_TO_txt">
        <source>%@ of %@ files uploaded</source>
        <extracomment>First %@: number of files uploaded; second %@: total number of files.</extracomment>
        <translation>%@ von %@ Dateien hochgeladen</translation>
    </message>
    <message id="NO_FILE_SUCCESSFULLY_UPLOADED_TO_txt">
        <source>No files could be uploaded.</source>
        <translation>Es konnten keine Dateien hochgeladen werden.</translation>
    </message>
    <message id="FILES_FAILED_TO_UPLOAD_txt">
        <source>Files not uploaded: %@</source>
        <extracomment>%@ is replaced by the number of items that failed.</extracomment>
        <translation>Nicht hochgeladene Dateien: %@</translation>
    </message>
    <message id="FILE_FAILED_TO_UPLOAD_txt">
        <source>One file could not be uploaded.</source>
        <translation>Eine Datei konnte nicht hochgeladen werden.</translation>
    </message>
    <message id="CHOOSE_USER_TO_CONNECT_txt">
        <source>Choose the user account to connect with.</source>
        <translation>Wählen Sie das Benutzerkonto für die Verbindung aus.</translation>
    </message>
    <message id="DRAG_AND_DROP_OR_txt">
        <source>Drag and drop files here, or</source>
        <extracomment>Followed by the link “choose files”.</extracomment>
        <translation>Dateien hierher ziehen oder</translation>
    </message>
    <message id="DRAG_FOLDERS_FILES_HERE_txt">
        <source>Drag folders and files here</source>
        <translation>Ordner und Dateien hierher ziehen</translation>
    </message>
    <message id="OR_txt">
        <source>or</source>
        <translation>oder</translation>
    </message>
    <message id="STOP_UPLOAD_PROMPT_txt">
        <source>Do you want to stop the upload? Files that have already been uploaded stay on the device.</source>
        <translation>Möchten Sie den Upload stoppen? Bereits hochgeladene Dateien bleiben auf dem Gerät erhalten.</translation>
    </message>
    <message id="CANCEL_TRANSFER_PROMPT_txt">
        <source>Do you want to cancel the upload?</source>
        <translation>Möchten Sie den Upload abbrechen?</translation>
    </message>
    <message id="INCORRECT_PASSWORD_txt">
        <source>The password is incorrect. Please try again.</source>
        <translation>Das Passwort ist falsch. Bitte versuchen Sie es erneut.</translation>
    </message>
    <message id="PASSWORD_txt">
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message id="VOLUME_txt">
        <source>Volume</source>
        <translation>Volume</translation>
    </message>
    <message id="CONFIRM_QUIT_DECISION_txt">
        <source>An upload is in progress. Do you want to quit anyway?</source>
        <translation>Ein Upload läuft noch. Möchten Sie trotzdem beenden?</translation>
    </message>
    <message id="DEVICE_DISCONNECT_txt">
        <source>Connection to %@ lost</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Verbindung zu %@ unterbrochen</translation>
    </message>
    <message id="DEVICE_DISCONNECT_MSG_txt">
        <source>The upload will continue when the connection is restored.</source>
        <translation>Der Upload wird fortgesetzt, sobald die Verbindung wiederhergestellt ist.</translation>
    </message>
    <message id="CONNECTION_RESTORED_txt">
        <source>Connection restored</source>
        <translation>Verbindung wiederhergestellt</translation>
    </message>
    <message id="CONNECTION_RESTORED_MSG_txt">
        <source>Upload resumed</source>
        <translation>Upload wird fortgesetzt</translation>
    </message>
    <message id="DEVICE_DISCONNECT_WARNING_txt">
        <source>The device was disconnected during the upload. The upload is paused and will continue automatically as soon as the device is available again.</source>
        <extracomment>Shown above the text about stopping the upload, separated by a blank line.</extracomment>
        <translation>Die Verbindung zum Gerät wurde während des Uploads getrennt. Der Upload ist angehalten und wird automatisch fortgesetzt, sobald das Gerät wieder verfügbar ist.</translation>
    </message>
    <message id="CANCEL_UPLOAD_WARNING_txt">
        <source>If you stop the upload instead, the files uploaded so far stay on the device.</source>
        <extracomment>Second paragraph of the disconnected and device-full messages.</extracomment>
        <translation>Wenn Sie den Upload stattdessen stoppen, bleiben die bisher hochgeladenen Dateien auf dem Gerät erhalten.</translation>
    </message>
    <message id="CALCULATING_txt">
        <source>calculating…</source>
        <extracomment>Follows “Estimated time remaining: ”.</extracomment>
        <translation>wird berechnet…</translation>
    </message>
    <message id="COPY_txt">
        <source>copy</source>
        <extracomment>Added to a file name that already exists at the destination, as in “report copy” and “report copy 2”.</extracomment>
        <translation>Kopie</translation>
    </message>
    <message id="DEVICE_LOST_CONNECTION_MSG_txt">
        <source>The connection to %@ was interrupted. Check that the device is switched on and connected.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Die Verbindung zu %@ wurde unterbrochen. Prüfen Sie, ob das Gerät eingeschaltet und verbunden ist.</translation>
    </message>
    <message id="RECONNECTING_txt">
        <source>Reconnecting…</source>
        <translation>Verbindung wird wiederhergestellt…</translation>
    </message>
    <message id="LOST_CONNECTION_MSG_txt">
        <source>Could not connect to %@. Make sure the device is switched on and connected, then try again.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Es konnte keine Verbindung zu %@ hergestellt werden. Stellen Sie sicher, dass das Gerät eingeschaltet und verbunden ist, und versuchen Sie es erneut.</translation>
    </message>
    <message id="DEVICE_FULL_WARNING_txt">
        <source>The device does not have enough free space for the remaining files. Free up some space on it and the upload will continue automatically.</source>
        <extracomment>Shown above the text about stopping the upload, separated by a blank line.</extracomment>
        <translation>Auf dem Gerät ist nicht genügend freier Speicherplatz für die restlichen Dateien. Geben Sie Speicherplatz frei, dann wird der Upload automatisch fortgesetzt.</translation>
    </message>
    <message id="DEVICE_FULL_MSG_txt">
        <source>%@ is full</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>%@ ist voll</translation>
    </message>
    <message id="RESUME_NOTHING_txt">
        <source>There is no interrupted upload to %@ to take up.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Es gibt keinen unterbrochenen Upload auf %@, der fortgesetzt werden kann.</translation>
    </message>
    <message id="RESUME_UNREADABLE_txt">
        <source>The record of the interrupted upload could not be read, so the upload cannot be taken up.</source>
        <translation>Die Aufzeichnung des unterbrochenen Uploads konnte nicht gelesen werden, daher kann der Upload nicht fortgesetzt werden.</translation>
    </message>
    <message id="DESTINATION_OFF_VOLUME_txt">
        <source>The folder %@ leads off %@ through a link. Choose a folder on the device itself.</source>
        <extracomment>The first %@ is replaced by the destination folder, the second by the name of the device.</extracomment>
        <translation>Der Ordner %@ führt über eine Verknüpfung aus %@ hinaus. Wählen Sie einen Ordner auf dem Gerät selbst.</translation>
    </message>
    <message id="SOURCE_IN_DESTINATION_txt">
        <source>%@ is already in the destination folder, so it cannot be uploaded there: it would be copied onto itself. Choose another destination.</source>
        <extracomment>%@ is replaced by the source item.</extracomment>
        <translation>%@ liegt bereits im Zielordner und kann daher nicht dorthin hochgeladen werden: Es würde auf sich selbst kopiert. Wählen Sie ein anderes Ziel.</translation>
    </message>
    <message id="SOURCE_CHANGING_txt">
        <source>The file changed while it was being uploaded, again and again. Upload it once nothing writes to it any more.</source>
        <extracomment>A failed file's reason: its source was written to while it was copied, copy after copy.</extracomment>
        <translation>Die Datei hat sich während des Hochladens immer wieder geändert. Laden Sie sie hoch, sobald nichts mehr in sie schreibt.</translation>
    </message>
    <message id="UPLOADED_FILES_NOT_OPENED_txt">
        <source>No program on this computer opened the folder that holds the uploaded files. You find them at %@.</source>
        <extracomment>Shown when the link to the uploaded files was pressed but the desktop has no program that opens the folder. %@ is replaced by the folder's path, or by the share's address.</extracomment>
        <translation>Kein Programm auf diesem Computer hat den Ordner mit den hochgeladenen Dateien geöffnet. Sie finden die Dateien unter %@.</translation>
    </message>
    <message id="NOT_WRITTEN_TO_DISK_txt">
        <source>The disk did not confirm that the file was written to it (%@). Check the disk, then upload the file again.</source>
        <extracomment>A failed file's reason: the flush of the attached disk at the end of the upload failed, so the file may not be on it. %@ is replaced by the system's description of the error.</extracomment>
        <translation>Die Festplatte hat nicht bestätigt, dass die Datei auf sie geschrieben wurde (%@). Prüfen Sie die Festplatte und laden Sie die Datei dann erneut hoch.</translation>
    </message>
    <message id="SIZE_NOT_AS_READ_txt">
        <source>The file's size does not match what can be read from it (files of the system itself, such as those in /proc, give no true size), so it cannot be copied whole.</source>
        <extracomment>A failed file's reason: the source's size differs from what was read from it, while the destination works.</extracomment>
        <translation>Die Größe der Datei stimmt nicht mit dem überein, was sich aus ihr lesen lässt (Dateien des Systems selbst, etwa unter /proc, geben keine wahre Größe an); sie kann daher nicht vollständig kopiert werden.</translation>
    </message>
    <message id="NAME_TOO_LONG_txt">
        <source>The name “%@” is too long for the device, which holds names of up to 255 bytes.</source>
        <extracomment>A failed item's reason. %@ is replaced by the name it was to have at the destination (with the clash rule's “copy” when the name was taken).</extracomment>
        <translation>Der Name „%@“ ist zu lang für das Gerät, das Namen mit höchstens 255 Bytes aufnimmt.</translation>
    </message>
    <message id="DESTINATION_IN_SOURCE_txt">
        <source>The destination folder is inside %@, which is being uploaded: a folder cannot be uploaded into itself. Choose a destination outside it.</source>
        <extracomment>%@ is replaced by the source folder.</extracomment>
        <translation>Der Zielordner liegt in %@, das hochgeladen wird: Ein Ordner kann nicht in sich selbst hochgeladen werden. Wählen Sie ein Ziel außerhalb davon.</translation>
    </message>
    <message id="RESUME_ACCOUNT_REFUSED_txt">
        <source>%@ did not accept the account name or password, so the interrupted upload cannot be taken up. Give the account's password again and try once more.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>%@ hat den Kontonamen oder das Passwort nicht angenommen, daher kann der unterbrochene Upload nicht fortgesetzt werden. Geben Sie das Passwort des Kontos erneut ein und versuchen Sie es noch einmal.</translation>
    </message>
    <message id="RESUME_NO_ACCOUNT_txt">
        <source>No account for %@ is stored on this computer, so the interrupted upload cannot be taken up. Give the account's name and password and try once more.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Auf diesem Computer ist kein Konto für %@ gespeichert, daher kann der unterbrochene Upload nicht fortgesetzt werden. Geben Sie den Namen und das Passwort des Kontos an und versuchen Sie es noch einmal.</translation>
    </message>
    <message id="RESUME_NOT_MOUNTED_txt">
        <source>The destination on %@ could not be reached, so the interrupted upload cannot be taken up now.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Das Ziel auf %@ ist nicht erreichbar, daher kann der unterbrochene Upload jetzt nicht fortgesetzt werden.</translation>
    </message>
    <message id="RESUME_FOLDER_GONE_txt">
        <source>The destination folder “%@” is no longer on %@, so the interrupted upload cannot be taken up now. Put the folder back where it was and try again.</source>
        <extracomment>The first %@ is replaced by the name of the destination folder, the second by the name of the device.</extracomment>
        <translation>Der Zielordner „%@“ ist nicht mehr auf %@, daher kann der unterbrochene Upload jetzt nicht fortgesetzt werden. Legen Sie den Ordner an seinen Platz zurück und versuchen Sie es erneut.</translation>
    </message>
    <message id="RESUME_RUNNING_txt">
        <source>Another upload is open in process %@, so the interrupted upload cannot be taken up now. Close that upload or wait until it ends, then try again.</source>
        <extracomment>%@ is replaced by the number of the process that runs the other upload.</extracomment>
        <translation>In Prozess %@ ist ein anderer Upload geöffnet, daher kann der unterbrochene Upload jetzt nicht fortgesetzt werden. Schließen Sie diesen Upload oder warten Sie, bis er beendet ist, und versuchen Sie es dann erneut.</translation>
    </message>
    <message id="UPLOAD_RUNNING_ELSEWHERE_txt">
        <source>Another upload is open in process %@. Only one upload can run at a time, because the record that lets an upload be taken up again holds one. Close that upload or wait until it ends, then try again.</source>
        <extracomment>%@ is replaced by the number of the process that runs the other upload.</extracomment>
        <translation>In Prozess %@ ist ein anderer Upload geöffnet. Es kann immer nur ein Upload laufen, weil die Aufzeichnung, mit der ein Upload fortgesetzt werden kann, nur einen festhält. Schließen Sie diesen Upload oder warten Sie, bis er beendet ist, und versuchen Sie es dann erneut.</translation>
    </message>
    <message id="SOURCE_FILES_GONE_txt">
        <source>Files in this folder are no longer there: %@ of the %@ counted when it was chosen.</source>
        <translation>Dateien in diesem Ordner sind nicht mehr vorhanden: %@ der %@, die bei seiner Auswahl gezählt wurden.</translation>
    </message>
    <message id="SOURCE_GONE_txt">
        <source>The file is no longer there.</source>
        <translation>Die Datei ist nicht mehr vorhanden.</translation>
    </message>
    <message id="DESTINATION_FOLDER_GONE_txt">
        <source>The destination folder “%@” is no longer there.</source>
        <extracomment>A failed item's reason: the folder it was being copied into was removed during the upload. %@ is replaced by that folder's name.</extracomment>
        <translation>Der Zielordner „%@“ ist nicht mehr vorhanden.</translation>
    </message>
    <message id="LINK_DANGLING_txt">
        <source>The link points to nothing.</source>
        <translation>Der Verweis zeigt ins Leere.</translation>
    </message>
    <message id="LARGER_THAN_DEVICE_txt">
        <source>The file is larger than the whole device, so it cannot be uploaded to it.</source>
        <translation>Die Datei ist größer als das ganze Gerät und kann daher nicht darauf hochgeladen werden.</translation>
    </message>
    <message id="LINK_CIRCLE_txt">
        <source>The link leads through other links back to itself, so it never reaches a file or folder.</source>
        <translation>Der Verweis führt über andere Verweise zu sich selbst zurück und erreicht nie eine Datei oder einen Ordner.</translation>
    </message>
    <message id="LINK_LOOP_txt">
        <source>The link leads back into a folder that holds it, so following it would never end.</source>
        <translation>Der Verweis führt zurück in einen Ordner, der ihn enthält; ihm zu folgen, endete nie.</translation>
    </message>
    <message id="LINK_INTO_DESTINATION_txt">
        <source>The link leads to a folder that holds the destination, so following it would copy the upload into itself.</source>
        <translation>Der Verweis führt zu einem Ordner, der das Ziel enthält; ihm zu folgen, kopierte den Upload in sich selbst.</translation>
    </message>
    <message id="NAME_NOT_UTF8_txt">
        <source>The name is not valid UTF-8, so the device cannot store it; rename the file.</source>
        <translation>Der Name ist kein gültiges UTF-8, daher kann das Gerät ihn nicht speichern; benennen Sie die Datei um.</translation>
    </message>
    <message id="ACCOUNT_a11y">
        <source>Account on the device</source>
        <translation>Konto auf dem Gerät</translation>
    </message>
    <message id="SOURCE_LIST_a11y">
        <source>Files and folders to upload</source>
        <translation>Hochzuladende Dateien und Ordner</translation>
    </message>
    <message id="FOLDER_NAME_a11y">
        <source>Folder name</source>
        <translation>Ordnername</translation>
    </message>
    <message id="DESTINATION_TREE_a11y">
        <source>Folders on the device</source>
        <translation>Ordner auf dem Gerät</translation>
    </message>
    <message id="FAILED_LIST_a11y">
        <source>Files that failed to upload</source>
        <translation>Nicht hochgeladene Dateien</translation>
    </message>
    <message id="UPLOAD_PROGRESS_a11y">
        <source>Upload progress</source>
        <translation>Fortschritt des Hochladens</translation>
    </message>
    <message id="PAUSE_UPLOAD_a11y">
        <source>Pause upload</source>
        <translation>Hochladen anhalten</translation>
    </message>
    <message id="RESUME_UPLOAD_a11y">
        <source>Resume upload</source>
        <translation>Hochladen fortsetzen</translation>
    </message>
    <message id="OPEN_UPLOADED_FILES_a11y">
        <source>Show the uploaded files</source>
        <translation>Hochgeladene Dateien zeigen</translation>
    </message>
    <message id="MOUNT_FOLDER_UNAVAILABLE_txt">
        <source>The folder %@, in which the device's shares are opened, could not be created. Make sure that your home folder can be written to, then try again.</source>
        <extracomment>%@ is replaced by the folder's full path.</extracomment>
        <translation>Der Ordner %@, in dem die Freigaben des Geräts geöffnet werden, konnte nicht angelegt werden. Stellen Sie sicher, dass Ihr Benutzerordner beschreibbar ist, und versuchen Sie es dann erneut.</translation>
    </message>
    <message id="REPLY_TOO_SLOW_txt">
        <source>The device did not answer in time. Check that it is switched on and not busy, then try again.</source>
        <translation>Das Gerät hat nicht rechtzeitig geantwortet. Prüfen Sie, ob es eingeschaltet und nicht ausgelastet ist, und versuchen Sie es erneut.</translation>
    </message>
    <message id="REPLY_TOO_LARGE_txt">
        <source>The device's answer was too large to be read. It may not be the device you expect.</source>
        <translation>Die Antwort des Geräts war zu groß, um gelesen zu werden. Möglicherweise ist es nicht das erwartete Gerät.</translation>
    </message>
    <message id="REPLY_NOT_UNDERSTOOD_txt">
        <source>The device's answer could not be understood. It may not be the device you expect.</source>
        <translation>Die Antwort des Geräts war nicht verständlich. Möglicherweise ist es nicht das erwartete Gerät.</translation>
    </message>
    <message id="NOT_REGULAR_FILE_txt">
        <source>Not a regular file.</source>
        <translation>Keine gewöhnliche Datei.</translation>
    </message>
    <message id="NO_DESTINATION_txt">
        <source>Choose the folder to upload to first.</source>
        <translation>Wählen Sie zuerst den Ordner, in den hochgeladen werden soll.</translation>
    </message>
    <message id="DAY_txt">
        <source>%@ day</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ Tag</translation>
    </message>
    <message id="DAYS_txt">
        <source>%@ days</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ Tage</translation>
    </message>
    <message id="HOUR_txt">
        <source>%@ hour</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ Stunde</translation>
    </message>
    <message id="HOURS_txt">
        <source>%@ hours</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ Stunden</translation>
    </message>
    <message id="MINUTE_txt">
        <source>%@ minute</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ Minute</translation>
    </message>
    <message id="MINUTES_txt">
        <source>%@ minutes</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ Minuten</translation>
    </message>
    <message id="SECOND_txt">
        <source>%@ second</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ Sekunde</translation>
    </message>
    <message id="SECONDS_txt">
        <source>%@ seconds</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ Sekunden</translation>
    </message>
    <message id="FILE_txt">
        <source>%@ file</source>
        <extracomment>Keep the form: the number, one space, a single word without spaces. Only the word is shown after counts.</extracomment>
        <translation>%@ Datei</translation>
    </message>
    <message id="FILES_txt">
        <source>%@ files</source>
        <extracomment>Keep the form: the number, one space, a single word without spaces. Only the word is shown after counts.</extracomment>
        <translation>%@ Dateien</translation>
    </message>
    <message id="FOLDER_txt">
        <source>%@ folder</source>
        <extracomment>Keep the form: the number, one space, a single word without spaces. Only the word is shown after counts.</extracomment>
        <translation>%@ Ordner</translation>
    </message>
    <message id="FOLDERS_txt">
        <source>%@ folders</source>
        <extracomment>Keep the form: the number, one space, a single word without spaces. Only the word is shown after counts.</extracomment>
        <translation>%@ Ordner</translation>
    </message>
    <message id="SYSTEM_FILE_WARNING1_txt_MAC">
        <source>Some of the selected items are in system or library folders. They will be copied to the device, but the originals will be kept on this computer.</source>
        <extracomment>First paragraph of the move confirmation when system items are selected.</extracomment>
        <translation>Einige der ausgewählten Objekte befinden sich in System- oder Bibliotheksordnern. Sie werden auf das Gerät kopiert, die Originale bleiben aber auf diesem Computer erhalten.</translation>
    </message>
    <message id="SYSTEM_FILE_WARNING2_txt_MAC">
        <source>All other items will be moved: each file is removed from this computer once it has arrived whole on the device, and the emptied folders go to the Trash. Do you want to continue?</source>
        <extracomment>Second paragraph of the move confirmation when system items are selected.</extracomment>
        <translation>Alle anderen Objekte werden verschoben: Jede Datei wird von diesem Computer entfernt, sobald sie vollständig auf dem Gerät angekommen ist, und die geleerten Ordner kommen in den Papierkorb. Möchten Sie fortfahren?</translation>
    </message>
    <message id="SYSTEM_FILE_WARNING1_txt_WIN">
        <source>Some of the selected items are in protected system or program folders. They will be copied to the device, but the originals will not be removed.</source>
        <translation>Einige der ausgewählten Objekte befinden sich in geschützten System- oder Programmordnern. Sie werden auf das Gerät kopiert, die Originale werden jedoch nicht entfernt.</translation>
    </message>
    <message id="SYSTEM_FILE_WARNING2_txt_WIN">
        <source>All other items will be removed from this computer after they have been uploaded. Do you want to continue?</source>
        <translation>Alle anderen Objekte werden nach dem Hochladen von diesem Computer entfernt. Möchten Sie fortfahren?</translation>
    </message>
    <message id="ALL_FILES_SUCCESSFULLY_UPLOADED_TO_txt">
        <source>Files uploaded to:</source>
        <extracomment>Followed by a link with the device name that opens the uploaded files.</extracomment>
        <translation>Dateien hochgeladen auf:</translation>
    </message>
    <message id="TIME_REMAINING_ABOUT_TEXT">
        <source>about %@</source>
        <extracomment>%@ is replaced by a duration such as “3 minutes”. Follows “Estimated time remaining: ”.</extracomment>
        <translation>etwa %@</translation>
    </message>
    <message id="OUT_OF_SPACE_MSG_2_txt">
        <source>Free up space on the device to continue.</source>
        <translation>Geben Sie Speicherplatz auf dem Gerät frei, um fortzufahren.</translation>
    </message>
    <message id="MOVE_FILE_WARNING_txt">
        <source>The selected items will be moved: each file is removed from this computer once it has arrived whole on the device, and the emptied folders go to the Trash. Do you want to continue?</source>
        <translation>Die ausgewählten Objekte werden verschoben: Jede Datei wird von diesem Computer entfernt, sobald sie vollständig auf dem Gerät angekommen ist, und die geleerten Ordner kommen in den Papierkorb. Möchten Sie fortfahren?</translation>
    </message>
    <message id="DRAG_FOLDERS_FILES_HERE_OR_txt">
        <source>Drag folders and files here, or</source>
        <extracomment>Followed by the link “choose folders and files”.</extracomment>
        <translation>Ordner und Dateien hierher ziehen oder</translation>
    </message>
</context>
</TS>
