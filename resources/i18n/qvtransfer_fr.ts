<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en_GB">
<context>
    <name>QVTransfer</name>
    <message id="CHOOSE_DEVICE_title">
        <source>Choose a Device</source>
        <translation>Choisir un appareil</translation>
    </message>
    <message id="CHOOSE_FILES_TO_UPLOAD_title">
        <source>Choose Files to Upload</source>
        <translation>Choisir les fichiers à envoyer</translation>
    </message>
    <message id="CHOOSE_USER_title">
        <source>Choose a User</source>
        <translation>Choisir un utilisateur</translation>
    </message>
    <message id="UPLOADING_FILES_TO_title">
        <source>Upload Files to %@</source>
        <extracomment>%@ is replaced by the name of the device. Heading shown when the device has not been used for uploads yet.</extracomment>
        <translation>Envoyer des fichiers vers %@</translation>
    </message>
    <message id="UPLOAD_ERRORS_title">
        <source>Upload Errors (%@)</source>
        <extracomment>Heading of the error window. %@ is replaced by the number of items that failed.</extracomment>
        <translation>Erreurs d’envoi (%@)</translation>
    </message>
    <message id="UPLOAD_ERROR_title">
        <source>Upload Error</source>
        <translation>Erreur d’envoi</translation>
    </message>
    <message id="CHOOSE_UPLOAD_LOCATION_title">
        <source>Choose a Location on %@</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Choisir un emplacement sur %@</translation>
    </message>
    <message id="CHOOSE_FILE_HYPERLINK_btn">
        <source>choose files</source>
        <extracomment>Link that follows the drop-area text ending in “or”.</extracomment>
        <translation>choisissez des fichiers</translation>
    </message>
    <message id="CHOOSE_FOLDERS_FILES_HYPERLINK_btn">
        <source>choose folders and files</source>
        <extracomment>Link that follows the drop-area text ending in “or”.</extracomment>
        <translation>choisissez des dossiers et des fichiers</translation>
    </message>
    <message id="DEVICE_NOT_APPEARING_HYPERLINK_btn">
        <source>Don’t see your device?</source>
        <translation>Votre appareil n’apparaît pas ?</translation>
    </message>
    <message id="CREATE_NEW_FOLDER_btn">
        <source>Create new folder</source>
        <translation>Créer un dossier</translation>
    </message>
    <message id="REMOVE_FILES_btn">
        <source>Remove files from this computer after uploading</source>
        <extracomment>Check box on the file selection screen.</extracomment>
        <translation>Supprimer les fichiers de cet ordinateur après l’envoi</translation>
    </message>
    <message id="KEEP_UPLOADING_btn">
        <source>Keep Uploading</source>
        <translation>Poursuivre l’envoi</translation>
    </message>
    <message id="STOP_UPLOAD_btn">
        <source>Stop Upload</source>
        <translation>Arrêter l’envoi</translation>
    </message>
    <message id="BACK_btn">
        <source>Back</source>
        <translation>Retour</translation>
    </message>
    <message id="NEXT_btn">
        <source>Next</source>
        <translation>Suivant</translation>
    </message>
    <message id="CANCEL_btn">
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message id="CLOSE_btn">
        <source>Close</source>
        <translation>Fermer</translation>
    </message>
    <message id="STOP_btn">
        <source>Stop</source>
        <translation>Arrêter</translation>
    </message>
    <message id="OK_btn">
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message id="NO_btn">
        <source>No</source>
        <translation>Non</translation>
    </message>
    <message id="YES_btn">
        <source>Yes</source>
        <translation>Oui</translation>
    </message>
    <message id="HIDE_btn">
        <source>Hide</source>
        <translation>Masquer</translation>
    </message>
    <message id="UPLOAD_btn">
        <source>Upload</source>
        <translation>Envoyer</translation>
    </message>
    <message id="CONTINUE_UPLOAD_btn">
        <source>Continue</source>
        <translation>Continuer</translation>
    </message>
    <message id="VIEW_NOW_btn">
        <source>View now</source>
        <extracomment>Link placed right after the count of files that were not uploaded.</extracomment>
        <translation>Afficher</translation>
    </message>
    <message id="HIDE_DETAILS_btn">
        <source>Hide Details</source>
        <translation>Masquer les détails</translation>
    </message>
    <message id="SHOW_DETAILS_btn">
        <source>Show Details</source>
        <translation>Afficher les détails</translation>
    </message>
    <message id="DISMISS_ALL_btn">
        <source>Dismiss All</source>
        <translation>Tout ignorer</translation>
    </message>
    <message id="RETRY_ALL_btn">
        <source>Retry All</source>
        <translation>Tout réessayer</translation>
    </message>
    <message id="LOST_CONNECTION_CANCEL_btn">
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message id="LOST_CONNECTION_RETRY_btn">
        <source>Try Again</source>
        <translation>Réessayer</translation>
    </message>
    <message id="UPLOADING_FILES_TO_txt">
        <source>Upload Files to %@</source>
        <extracomment>%@ is replaced by the name of the device. The window's heading, as UPLOADING_FILES_TO_title is on the first screen of a device not used yet: both in title case.</extracomment>
        <translation>Envoyer des fichiers vers %@</translation>
    </message>
    <message id="NEW_FOLDER_txt">
        <source>New Folder</source>
        <extracomment>Default name of a newly created folder.</extracomment>
        <translation>Nouveau dossier</translation>
    </message>
    <message id="SEARCHING_NETWORK_txt">
        <source>Searching the network…</source>
        <translation>Recherche sur le réseau…</translation>
    </message>
    <message id="CHOOSE_DEVICE_TO_UPLOAD_txt">
        <source>Choose the device you want to upload your files to.</source>
        <translation>Choisissez l’appareil vers lequel envoyer vos fichiers.</translation>
    </message>
    <message id="SEARCHING_txt">
        <source>Searching…</source>
        <translation>Recherche en cours…</translation>
    </message>
    <message id="SEARCHING_FOR_DEVICES_txt">
        <source>Searching for devices…</source>
        <translation>Recherche d’appareils…</translation>
    </message>
    <message id="UPLOADING_MULTIPLE_FILES_txt">
        <source>Uploading file %@ of %@</source>
        <extracomment>First %@: number of the file being uploaded; second %@: total number of files.</extracomment>
        <translation>Envoi du fichier %@ sur %@</translation>
    </message>
    <message id="UPLOADING_ONE_FILE_txt">
        <source>Uploading one file</source>
        <translation>Envoi d’un fichier</translation>
    </message>
    <message id="UPLOAD_PAUSED_txt">
        <source>Upload paused</source>
        <translation>Envoi en pause</translation>
    </message>
    <message id="ESTIMATED_TIME_REMAINING_txt">
        <source>Estimated time remaining: </source>
        <extracomment>Followed directly by “calculating…” or by the estimate; keep the trailing space.</extracomment>
        <translation>Temps restant estimé : </translation>
    </message>
    <message id="UPLOAD_COMPLETE_txt">
        <source>Upload complete</source>
        <translation>Envoi terminé</translation>
    </message>
    <message id="ALL_FILES_SUCCESSFULLY_UPLOADED_txt">
        <source>All files were uploaded successfully.</source>
        <translation>Tous les fichiers ont été envoyés.</translation>
    </message>
    <message id="SOME_FILES_SUCCESSFULLY_UPLOADED_TO_txt">
        <source>%@ of %@ files uploaded</source>
        <extracomment>First %@: number of files uploaded; second %@: total number of files.</extracomment>
        <translation>Fichiers envoyés : %@ sur %@</translation>
    </message>
    <message id="NO_FILE_SUCCESSFULLY_UPLOADED_TO_txt">
        <source>No files could be uploaded.</source>
        <translation>Aucun fichier n’a pu être envoyé.</translation>
    </message>
    <message id="FILES_FAILED_TO_UPLOAD_txt">
        <source>Files not uploaded: %@</source>
        <extracomment>%@ is replaced by the number of items that failed.</extracomment>
        <translation>Fichiers non envoyés : %@</translation>
    </message>
    <message id="FILE_FAILED_TO_UPLOAD_txt">
        <source>One file could not be uploaded.</source>
        <translation>Un fichier n’a pas pu être envoyé.</translation>
    </message>
    <message id="CHOOSE_USER_TO_CONNECT_txt">
        <source>Choose the user account to connect with.</source>
        <translation>Choisissez le compte utilisateur à utiliser pour la connexion.</translation>
    </message>
    <message id="DRAG_AND_DROP_OR_txt">
        <source>Drag and drop files here, or</source>
        <extracomment>Followed by the link “choose files”.</extracomment>
        <translation>Faites glisser des fichiers ici ou</translation>
    </message>
    <message id="DRAG_FOLDERS_FILES_HERE_txt">
        <source>Drag folders and files here</source>
        <translation>Faites glisser des dossiers et des fichiers ici</translation>
    </message>
    <message id="OR_txt">
        <source>or</source>
        <translation>ou</translation>
    </message>
    <message id="STOP_UPLOAD_PROMPT_txt">
        <source>Do you want to stop the upload? Files that have already been uploaded stay on the device.</source>
        <translation>Voulez-vous arrêter l’envoi ? Les fichiers déjà envoyés restent sur l’appareil.</translation>
    </message>
    <message id="CANCEL_TRANSFER_PROMPT_txt">
        <source>Do you want to cancel the upload?</source>
        <translation>Voulez-vous annuler l’envoi ?</translation>
    </message>
    <message id="INCORRECT_PASSWORD_txt">
        <source>The password is incorrect. Please try again.</source>
        <translation>Le mot de passe est incorrect. Veuillez réessayer.</translation>
    </message>
    <message id="PASSWORD_txt">
        <source>Password</source>
        <translation>Mot de passe</translation>
    </message>
    <message id="VOLUME_txt">
        <source>Volume</source>
        <translation>Volume</translation>
    </message>
    <message id="CONFIRM_QUIT_DECISION_txt">
        <source>An upload is in progress. Do you want to quit anyway?</source>
        <translation>Un envoi est en cours. Voulez-vous vraiment quitter ?</translation>
    </message>
    <message id="DEVICE_DISCONNECT_txt">
        <source>Connection to %@ lost</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Connexion à %@ perdue</translation>
    </message>
    <message id="DEVICE_DISCONNECT_MSG_txt">
        <source>The upload will continue when the connection is restored.</source>
        <translation>L’envoi reprendra dès que la connexion sera rétablie.</translation>
    </message>
    <message id="CONNECTION_RESTORED_txt">
        <source>Connection restored</source>
        <translation>Connexion rétablie</translation>
    </message>
    <message id="CONNECTION_RESTORED_MSG_txt">
        <source>Upload resumed</source>
        <translation>Reprise de l’envoi</translation>
    </message>
    <message id="DEVICE_DISCONNECT_WARNING_txt">
        <source>The device was disconnected during the upload. The upload is paused and will continue automatically as soon as the device is available again.</source>
        <extracomment>Shown above the text about stopping the upload, separated by a blank line.</extracomment>
        <translation>L’appareil a été déconnecté pendant l’envoi. L’envoi est en pause et reprendra automatiquement dès que l’appareil sera de nouveau disponible.</translation>
    </message>
    <message id="CANCEL_UPLOAD_WARNING_txt">
        <source>If you stop the upload instead, the files uploaded so far stay on the device.</source>
        <extracomment>Second paragraph of the disconnected and device-full messages.</extracomment>
        <translation>Si vous arrêtez plutôt l’envoi, les fichiers déjà envoyés restent sur l’appareil.</translation>
    </message>
    <message id="CALCULATING_txt">
        <source>calculating…</source>
        <extracomment>Follows “Estimated time remaining: ”.</extracomment>
        <translation>calcul en cours…</translation>
    </message>
    <message id="COPY_txt">
        <source>copy</source>
        <extracomment>Added to a file name that already exists at the destination, as in “report copy” and “report copy 2”.</extracomment>
        <translation>copie</translation>
    </message>
    <message id="DEVICE_LOST_CONNECTION_MSG_txt">
        <source>The connection to %@ was interrupted. Check that the device is switched on and connected.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>La connexion à %@ a été interrompue. Vérifiez que l’appareil est allumé et connecté.</translation>
    </message>
    <message id="RECONNECTING_txt">
        <source>Reconnecting…</source>
        <translation>Reconnexion en cours…</translation>
    </message>
    <message id="LOST_CONNECTION_MSG_txt">
        <source>Could not connect to %@. Make sure the device is switched on and connected, then try again.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Impossible de se connecter à %@. Vérifiez que l’appareil est allumé et connecté, puis réessayez.</translation>
    </message>
    <message id="DEVICE_FULL_WARNING_txt">
        <source>The device does not have enough free space for the remaining files. Free up some space on it and the upload will continue automatically.</source>
        <extracomment>Shown above the text about stopping the upload, separated by a blank line.</extracomment>
        <translation>L’appareil ne dispose pas d’assez d’espace libre pour les fichiers restants. Libérez de l’espace et l’envoi reprendra automatiquement.</translation>
    </message>
    <message id="DEVICE_FULL_MSG_txt">
        <source>%@ is full</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Plus d’espace libre sur %@</translation>
    </message>
    <message id="RESUME_NOTHING_txt">
        <source>There is no interrupted upload to %@ to take up.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Aucun envoi interrompu vers %@ n’est à reprendre.</translation>
    </message>
    <message id="RESUME_UNREADABLE_txt">
        <source>The record of the interrupted upload could not be read, so the upload cannot be taken up.</source>
        <translation>L’enregistrement de l’envoi interrompu est illisible, l’envoi ne peut donc pas être repris.</translation>
    </message>
    <message id="DESTINATION_OFF_VOLUME_txt">
        <source>The folder %@ leads off %@ through a link. Choose a folder on the device itself.</source>
        <extracomment>The first %@ is replaced by the destination folder, the second by the name of the device.</extracomment>
        <translation>Le dossier %@ mène hors de %@ par un lien. Choisissez un dossier sur l’appareil lui-même.</translation>
    </message>
    <message id="SOURCE_IN_DESTINATION_txt">
        <source>%@ is already in the destination folder, so it cannot be uploaded there: it would be copied onto itself. Choose another destination.</source>
        <extracomment>%@ is replaced by the source item.</extracomment>
        <translation>%@ se trouve déjà dans le dossier de destination et ne peut donc pas y être envoyé : il serait copié sur lui-même. Choisissez une autre destination.</translation>
    </message>
    <message id="SOURCE_CHANGING_txt">
        <source>The file changed while it was being uploaded, again and again. Upload it once nothing writes to it any more.</source>
        <extracomment>A failed file's reason: its source was written to while it was copied, copy after copy.</extracomment>
        <translation>Le fichier a changé encore et encore pendant son envoi. Envoyez-le quand plus rien n’y écrit.</translation>
    </message>
    <message id="UPLOADED_FILES_NOT_OPENED_txt">
        <source>No program on this computer opened the folder that holds the uploaded files. You find them at %@.</source>
        <extracomment>Shown when the link to the uploaded files was pressed but the desktop has no program that opens the folder. %@ is replaced by the folder's path, or by the share's address.</extracomment>
        <translation>Aucun programme de cet ordinateur n’a ouvert le dossier qui contient les fichiers envoyés. Vous les trouverez ici : %@.</translation>
    </message>
    <message id="NOT_WRITTEN_TO_DISK_txt">
        <source>The disk did not confirm that the file was written to it (%@). Check the disk, then upload the file again.</source>
        <extracomment>A failed file's reason: the flush of the attached disk at the end of the upload failed, so the file may not be on it. %@ is replaced by the system's description of the error.</extracomment>
        <translation>Le disque n’a pas confirmé que le fichier y a été écrit (%@). Vérifiez le disque, puis envoyez à nouveau le fichier.</translation>
    </message>
    <message id="SIZE_NOT_AS_READ_txt">
        <source>The file's size does not match what can be read from it (files of the system itself, such as those in /proc, give no true size), so it cannot be copied whole.</source>
        <extracomment>A failed file's reason: the source's size differs from what was read from it, while the destination works.</extracomment>
        <translation>La taille du fichier ne correspond pas à ce qu’on peut y lire (les fichiers du système lui-même, comme ceux de /proc, n’indiquent pas leur vraie taille) ; il ne peut donc pas être copié en entier.</translation>
    </message>
    <message id="NAME_TOO_LONG_txt">
        <source>The name “%@” is too long for the device, which holds names of up to 255 bytes.</source>
        <extracomment>A failed item's reason. %@ is replaced by the name it was to have at the destination (with the clash rule's “copy” when the name was taken).</extracomment>
        <translation>Le nom « %@ » est trop long pour l’appareil, qui accepte des noms de 255 octets au plus.</translation>
    </message>
    <message id="DESTINATION_IN_SOURCE_txt">
        <source>The destination folder is inside %@, which is being uploaded: a folder cannot be uploaded into itself. Choose a destination outside it.</source>
        <extracomment>%@ is replaced by the source folder.</extracomment>
        <translation>Le dossier de destination se trouve dans %@, qui fait partie de l’envoi : un dossier ne peut pas être envoyé dans lui-même. Choisissez une destination en dehors de celui-ci.</translation>
    </message>
    <message id="RESUME_ACCOUNT_REFUSED_txt">
        <source>%@ did not accept the account name or password, so the interrupted upload cannot be taken up. Give the account's password again and try once more.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>%@ n’a pas accepté le nom du compte ou le mot de passe, l’envoi interrompu ne peut donc pas être repris. Indiquez de nouveau le mot de passe du compte et réessayez.</translation>
    </message>
    <message id="RESUME_NO_ACCOUNT_txt">
        <source>No account for %@ is stored on this computer, so the interrupted upload cannot be taken up. Give the account's name and password and try once more.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Aucun compte pour %@ n’est enregistré sur cet ordinateur, l’envoi interrompu ne peut donc pas être repris. Indiquez le nom et le mot de passe du compte et réessayez.</translation>
    </message>
    <message id="RESUME_NOT_MOUNTED_txt">
        <source>The destination on %@ could not be reached, so the interrupted upload cannot be taken up now.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>La destination sur %@ est inaccessible, l’envoi interrompu ne peut donc pas être repris maintenant.</translation>
    </message>
    <message id="RESUME_FOLDER_GONE_txt">
        <source>The destination folder “%@” is no longer on %@, so the interrupted upload cannot be taken up now. Put the folder back where it was and try again.</source>
        <extracomment>The first %@ is replaced by the name of the destination folder, the second by the name of the device.</extracomment>
        <translation>Le dossier de destination « %@ » n’est plus sur %@, l’envoi interrompu ne peut donc pas être repris maintenant. Remettez le dossier à sa place et réessayez.</translation>
    </message>
    <message id="RESUME_RUNNING_txt">
        <source>Another upload is open in process %@, so the interrupted upload cannot be taken up now. Close that upload or wait until it ends, then try again.</source>
        <extracomment>%@ is replaced by the number of the process that runs the other upload.</extracomment>
        <translation>Un autre envoi est ouvert dans le processus %@ ; l’envoi interrompu ne peut donc pas être repris maintenant. Fermez cet envoi ou attendez qu’il se termine, puis réessayez.</translation>
    </message>
    <message id="UPLOAD_RUNNING_ELSEWHERE_txt">
        <source>Another upload is open in process %@. Only one upload can run at a time, because the record that lets an upload be taken up again holds one. Close that upload or wait until it ends, then try again.</source>
        <extracomment>%@ is replaced by the number of the process that runs the other upload.</extracomment>
        <translation>Un autre envoi est ouvert dans le processus %@. Un seul envoi peut avoir lieu à la fois, car l’enregistrement qui permet de reprendre un envoi n’en garde qu’un. Fermez cet envoi ou attendez qu’il se termine, puis réessayez.</translation>
    </message>
    <message id="SOURCE_FILES_GONE_txt">
        <source>Files in this folder are no longer there: %@ of the %@ counted when it was chosen.</source>
        <translation>Des fichiers de ce dossier ne sont plus là : %@ des %@ comptés lors de son choix.</translation>
    </message>
    <message id="SOURCE_GONE_txt">
        <source>The file is no longer there.</source>
        <translation>Le fichier n’est plus là.</translation>
    </message>
    <message id="DESTINATION_FOLDER_GONE_txt">
        <source>The destination folder “%@” is no longer there.</source>
        <extracomment>A failed item's reason: the folder it was being copied into was removed during the upload. %@ is replaced by that folder's name.</extracomment>
        <translation>Le dossier de destination « %@ » n’est plus là.</translation>
    </message>
    <message id="LINK_DANGLING_txt">
        <source>The link points to nothing.</source>
        <translation>Le lien ne mène nulle part.</translation>
    </message>
    <message id="LARGER_THAN_DEVICE_txt">
        <source>The file is larger than the whole device, so it cannot be uploaded to it.</source>
        <translation>Le fichier est plus grand que l’appareil entier : il ne peut pas y être envoyé.</translation>
    </message>
    <message id="LINK_CIRCLE_txt">
        <source>The link leads through other links back to itself, so it never reaches a file or folder.</source>
        <translation>Le lien mène par d’autres liens à lui-même : il n’atteint jamais de fichier ni de dossier.</translation>
    </message>
    <message id="LINK_LOOP_txt">
        <source>The link leads back into a folder that holds it, so following it would never end.</source>
        <translation>Le lien ramène dans un dossier qui le contient : le suivre ne finirait jamais.</translation>
    </message>
    <message id="LINK_INTO_DESTINATION_txt">
        <source>The link leads to a folder that holds the destination, so following it would copy the upload into itself.</source>
        <translation>Le lien mène à un dossier qui contient la destination : le suivre copierait l’envoi dans lui-même.</translation>
    </message>
    <message id="NAME_NOT_UTF8_txt">
        <source>The name is not valid UTF-8, so the device cannot store it; rename the file.</source>
        <translation>Le nom n’est pas en UTF-8 valide, l’appareil ne peut donc pas l’enregistrer ; renommez le fichier.</translation>
    </message>
    <message id="ACCOUNT_a11y">
        <source>Account on the device</source>
        <translation>Compte sur l’appareil</translation>
    </message>
    <message id="SOURCE_LIST_a11y">
        <source>Files and folders to upload</source>
        <translation>Fichiers et dossiers à envoyer</translation>
    </message>
    <message id="FOLDER_NAME_a11y">
        <source>Folder name</source>
        <translation>Nom du dossier</translation>
    </message>
    <message id="DESTINATION_TREE_a11y">
        <source>Folders on the device</source>
        <translation>Dossiers de l’appareil</translation>
    </message>
    <message id="FAILED_LIST_a11y">
        <source>Files that failed to upload</source>
        <translation>Fichiers non envoyés</translation>
    </message>
    <message id="UPLOAD_PROGRESS_a11y">
        <source>Upload progress</source>
        <translation>Progression de l’envoi</translation>
    </message>
    <message id="PAUSE_UPLOAD_a11y">
        <source>Pause upload</source>
        <translation>Suspendre l’envoi</translation>
    </message>
    <message id="RESUME_UPLOAD_a11y">
        <source>Resume upload</source>
        <translation>Reprendre l’envoi</translation>
    </message>
    <message id="OPEN_UPLOADED_FILES_a11y">
        <source>Show the uploaded files</source>
        <translation>Afficher les fichiers envoyés</translation>
    </message>
    <message id="MOUNT_FOLDER_UNAVAILABLE_txt">
        <source>The folder %@, in which the device's shares are opened, could not be created. Make sure that your home folder can be written to, then try again.</source>
        <extracomment>%@ is replaced by the folder's full path.</extracomment>
        <translation>Le dossier %@, dans lequel les partages de l’appareil sont ouverts, n’a pas pu être créé. Vérifiez que votre dossier personnel est accessible en écriture, puis réessayez.</translation>
    </message>
    <message id="REPLY_TOO_SLOW_txt">
        <source>The device did not answer in time. Check that it is switched on and not busy, then try again.</source>
        <translation>L’appareil n’a pas répondu à temps. Vérifiez qu’il est allumé et disponible, puis réessayez.</translation>
    </message>
    <message id="REPLY_TOO_LARGE_txt">
        <source>The device's answer was too large to be read. It may not be the device you expect.</source>
        <translation>La réponse de l’appareil était trop volumineuse pour être lue. Ce n’est peut-être pas l’appareil attendu.</translation>
    </message>
    <message id="REPLY_NOT_UNDERSTOOD_txt">
        <source>The device's answer could not be understood. It may not be the device you expect.</source>
        <translation>La réponse de l’appareil n’a pas pu être comprise. Ce n’est peut-être pas l’appareil attendu.</translation>
    </message>
    <message id="NOT_REGULAR_FILE_txt">
        <source>Not a regular file.</source>
        <translation>Ce n’est pas un fichier ordinaire.</translation>
    </message>
    <message id="NO_DESTINATION_txt">
        <source>Choose the folder to upload to first.</source>
        <translation>Choisissez d’abord le dossier de destination.</translation>
    </message>
    <message id="DAY_txt">
        <source>%@ day</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ jour</translation>
    </message>
    <message id="DAYS_txt">
        <source>%@ days</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ jours</translation>
    </message>
    <message id="HOUR_txt">
        <source>%@ hour</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ heure</translation>
    </message>
    <message id="HOURS_txt">
        <source>%@ hours</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ heures</translation>
    </message>
    <message id="MINUTE_txt">
        <source>%@ minute</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ minute</translation>
    </message>
    <message id="MINUTES_txt">
        <source>%@ minutes</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ minutes</translation>
    </message>
    <message id="SECOND_txt">
        <source>%@ second</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ seconde</translation>
    </message>
    <message id="SECONDS_txt">
        <source>%@ seconds</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ secondes</translation>
    </message>
    <message id="FILE_txt">
        <source>%@ file</source>
        <extracomment>Keep the form: the number, one space, a single word without spaces. Only the word is shown after counts.</extracomment>
        <translation>%@ fichier</translation>
    </message>
    <message id="FILES_txt">
        <source>%@ files</source>
        <extracomment>Keep the form: the number, one space, a single word without spaces. Only the word is shown after counts.</extracomment>
        <translation>%@ fichiers</translation>
    </message>
    <message id="FOLDER_txt">
        <source>%@ folder</source>
        <extracomment>Keep the form: the number, one space, a single word without spaces. Only the word is shown after counts.</extracomment>
        <translation>%@ dossier</translation>
    </message>
    <message id="FOLDERS_txt">
        <source>%@ folders</source>
        <extracomment>Keep the form: the number, one space, a single word without spaces. Only the word is shown after counts.</extracomment>
        <translation>%@ dossiers</translation>
    </message>
    <message id="SYSTEM_FILE_WARNING1_txt_MAC">
        <source>Some of the selected items are in system or library folders. They will be copied to the device, but the originals will be kept on this computer.</source>
        <extracomment>First paragraph of the move confirmation when system items are selected.</extracomment>
        <translation>Certains des éléments sélectionnés se trouvent dans des dossiers système ou de bibliothèque. Ils seront copiés sur l’appareil, mais les originaux resteront sur cet ordinateur.</translation>
    </message>
    <message id="SYSTEM_FILE_WARNING2_txt_MAC">
        <source>All other items will be moved: each file is removed from this computer once it has arrived whole on the device, and the emptied folders go to the Trash. Do you want to continue?</source>
        <extracomment>Second paragraph of the move confirmation when system items are selected.</extracomment>
        <translation>Tous les autres éléments seront déplacés : chaque fichier est supprimé de cet ordinateur dès qu’il est arrivé entier sur l’appareil, et les dossiers vidés vont dans la corbeille. Voulez-vous continuer ?</translation>
    </message>
    <message id="SYSTEM_FILE_WARNING1_txt_WIN">
        <source>Some of the selected items are in protected system or program folders. They will be copied to the device, but the originals will not be removed.</source>
        <translation>Certains des éléments sélectionnés se trouvent dans des dossiers système ou de programmes protégés. Ils seront copiés sur l’appareil, mais les originaux ne seront pas supprimés.</translation>
    </message>
    <message id="SYSTEM_FILE_WARNING2_txt_WIN">
        <source>All other items will be removed from this computer after they have been uploaded. Do you want to continue?</source>
        <translation>Tous les autres éléments seront supprimés de cet ordinateur après leur envoi. Voulez-vous continuer ?</translation>
    </message>
    <message id="ALL_FILES_SUCCESSFULLY_UPLOADED_TO_txt">
        <source>Files uploaded to:</source>
        <extracomment>Followed by a link with the device name that opens the uploaded files.</extracomment>
        <translation>Fichiers envoyés vers :</translation>
    </message>
    <message id="TIME_REMAINING_ABOUT_TEXT">
        <source>about %@</source>
        <extracomment>%@ is replaced by a duration such as “3 minutes”. Follows “Estimated time remaining: ”.</extracomment>
        <translation>environ %@</translation>
    </message>
    <message id="OUT_OF_SPACE_MSG_2_txt">
        <source>Free up space on the device to continue.</source>
        <translation>Libérez de l’espace sur l’appareil pour continuer.</translation>
    </message>
    <message id="MOVE_FILE_WARNING_txt">
        <source>The selected items will be moved: each file is removed from this computer once it has arrived whole on the device, and the emptied folders go to the Trash. Do you want to continue?</source>
        <translation>Les éléments sélectionnés seront déplacés : chaque fichier est supprimé de cet ordinateur dès qu’il est arrivé entier sur l’appareil, et les dossiers vidés vont dans la corbeille. Voulez-vous continuer ?</translation>
    </message>
    <message id="DRAG_FOLDERS_FILES_HERE_OR_txt">
        <source>Drag folders and files here, or</source>
        <extracomment>Followed by the link “choose folders and files”.</extracomment>
        <translation>Faites glisser des dossiers et des fichiers ici ou</translation>
    </message>
</context>
</TS>
