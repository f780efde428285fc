<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en_GB">
<context>
    <name>qvtransfer-cli</name>
    <message id="LEFT_WITHOUT_UPLOAD">
        <source>The wizard was left without an upload.</source>
        <translation>L’assistant a été quitté sans envoi.</translation>
    </message>
    <message id="STOPPED_BEFORE_BEGIN">
        <source>Stopped before the upload began.</source>
        <translation>Arrêté avant le début de l’envoi.</translation>
    </message>
    <message id="UPLOAD_RUNNING">
        <source>Another upload is open in process %1. Only one upload runs at a time, because the record that lets an upload be taken up again holds one: wait until it ends, or stop it, then try again.</source>
        <translation>Un autre envoi est ouvert dans le processus %1. Un seul envoi a lieu à la fois, car l’enregistrement qui permet de reprendre un envoi n’en garde qu’un : attendez qu’il se termine, ou arrêtez-le, puis réessayez.</translation>
    </message>
    <message id="INTERRUPTED_RECORDED">
        <source>An upload to %1 did not finish and is recorded: --resume takes it up. To start a new upload in its place (the recorded one can then no longer be taken up), add --replace-interrupted.</source>
        <translation>Un envoi vers %1 n’est pas terminé et il est enregistré : --resume le reprend. Pour commencer un nouvel envoi à sa place (celui enregistré ne pourra alors plus être repris), ajoutez --replace-interrupted.</translation>
    </message>
    <message id="INTERRUPTED_OTHER_NAS">
        <source>An upload to the network device with serial number %1 did not finish and is recorded; a new upload would take its place, and it could no longer be taken up. Take it up first (that device's options and --resume), or add --replace-interrupted.</source>
        <translation>Un envoi vers l’appareil réseau de numéro de série %1 n’est pas terminé et il est enregistré ; un nouvel envoi prendrait sa place, et il ne pourrait plus être repris. Reprenez-le d’abord (les options de cet appareil et --resume), ou ajoutez --replace-interrupted.</translation>
    </message>
    <message id="INTERRUPTED_OTHER_DAS">
        <source>An upload to an attached disk did not finish and is recorded; a new upload would take its place, and it could no longer be taken up. Take it up first (that disk's options and --resume), or add --replace-interrupted.</source>
        <translation>Un envoi vers un disque connecté n’est pas terminé et il est enregistré ; un nouvel envoi prendrait sa place, et il ne pourrait plus être repris. Reprenez-le d’abord (les options de ce disque et --resume), ou ajoutez --replace-interrupted.</translation>
    </message>
    <message id="TAKING_UP_RECORDED">
        <source>Taking up the upload recorded in the state file...</source>
        <translation>Reprise de l’envoi enregistré dans le fichier d’état…</translation>
    </message>
    <message id="TAKING_UP">
        <source>Taking up %1 (%2, %3) to %4 on %5</source>
        <extracomment>%1 is the number of items, %2 the number of files, %3 their size, %4 the destination folder, %5 the device.</extracomment>
        <translation>Reprise de %1 (%2, %3) vers %4 sur %5</translation>
    </message>
    <message id="ITEMS_n" numerus="yes">
        <source>%n items</source>
        <translation>
            <numerusform>%n élément</numerusform>
            <numerusform>%n éléments</numerusform>
        </translation>
    </message>
    <message id="FILES_n" numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n fichier</numerusform>
            <numerusform>%n fichiers</numerusform>
        </translation>
    </message>
    <message id="FOLDERS_n" numerus="yes">
        <source>%n folders</source>
        <translation>
            <numerusform>%n dossier</numerusform>
            <numerusform>%n dossiers</numerusform>
        </translation>
    </message>
    <message id="BYTES_n" numerus="yes">
        <source>%n bytes</source>
        <extracomment>A size below a kilobyte.</extracomment>
        <translation>
            <numerusform>%n octet</numerusform>
            <numerusform>%n octets</numerusform>
        </translation>
    </message>
    <message id="SIZE_KB">
        <source>%1 KB</source>
        <extracomment>%1 is a number with one decimal; decimal units (1 KB = 1000 bytes).</extracomment>
        <translation>%1 ko</translation>
    </message>
    <message id="SIZE_MB">
        <source>%1 MB</source>
        <translation>%1 Mo</translation>
    </message>
    <message id="SIZE_GB">
        <source>%1 GB</source>
        <translation>%1 Go</translation>
    </message>
    <message id="SIZE_TB">
        <source>%1 TB</source>
        <translation>%1 To</translation>
    </message>
    <message id="SIZE_PB">
        <source>%1 PB</source>
        <translation>%1 Po</translation>
    </message>
    <message id="SIZE_EB">
        <source>%1 EB</source>
        <translation>%1 Eo</translation>
    </message>
    <message id="RATE">
        <source>%1/s</source>
        <extracomment>%1 is a size; the amount copied each second.</extracomment>
        <translation>%1/s</translation>
    </message>
    <message id="DURATION_SECONDS">
        <source>%1 s</source>
        <extracomment>%1 is a number of seconds, with one decimal below ten.</extracomment>
        <translation>%1 s</translation>
    </message>
    <message id="DURATION_MINUTES">
        <source>%1 min %2 s</source>
        <extracomment>%1 minutes and %2 seconds.</extracomment>
        <translation>%1 min %2 s</translation>
    </message>
    <message id="DURATION_HOURS">
        <source>%1 h %2 min</source>
        <extracomment>%1 hours and %2 minutes.</extracomment>
        <translation>%1 h %2 min</translation>
    </message>
    <message id="PROGRESS_COUNTS">
        <source>Files %1 of %2 | %3 of %4</source>
        <extracomment>%1 files handled of %2; %3 copied of %4.</extracomment>
        <translation>Fichiers %1 sur %2 | %3 sur %4</translation>
    </message>
    <message id="KEYS_WHILE_COPYING">
        <source>[p pause, s stop]</source>
        <extracomment>The keys that act during the upload; the letters stay as they are.</extracomment>
        <translation>[p pause, s arrêter]</translation>
    </message>
    <message id="KEYS_WHILE_PAUSED">
        <source>[r resume, s stop]</source>
        <translation>[r reprendre, s arrêter]</translation>
    </message>
    <message id="DEVICE_BACK">
        <source>The device is back; the upload continues.</source>
        <translation>L’appareil est de retour ; l’envoi continue.</translation>
    </message>
    <message id="ROOM_AGAIN">
        <source>There is room again; the upload continues.</source>
        <translation>Il y a de nouveau de la place ; l’envoi continue.</translation>
    </message>
    <message id="PAUSED">
        <source>Paused.</source>
        <translation>En pause.</translation>
    </message>
    <message id="PAUSED_AFTER_FILE">
        <source>Paused once the file being copied is finished.</source>
        <extracomment>The pause key pressed while a file is copied: that file is finished first.</extracomment>
        <translation>En pause dès que le fichier en cours de copie est terminé.</translation>
    </message>
    <message id="RESUMED">
        <source>Resumed.</source>
        <translation>Repris.</translation>
    </message>
    <message id="ANSWER_YES">
        <source>yes</source>
        <extracomment>The answer to the stop question, echoed after the key y.</extracomment>
        <translation>oui</translation>
    </message>
    <message id="ANSWER_NO">
        <source>no</source>
        <translation>non</translation>
    </message>
    <message id="STOP_QUESTION">
        <source>Stop the upload?</source>
        <extracomment>Asked when the device gives no question of its own; y stops.</extracomment>
        <translation>Arrêter l’envoi ?</translation>
    </message>
    <message id="ENDED_BEFORE_TAKEN_UP">
        <source>Ended before the upload was taken up; the record stays for --resume.</source>
        <translation>Terminé avant la reprise de l’envoi ; l’enregistrement reste pour --resume.</translation>
    </message>
    <message id="ENDED_BEFORE_BEGIN">
        <source>Ended before the upload began.</source>
        <translation>Terminé avant le début de l’envoi.</translation>
    </message>
    <message id="SUSPENDED_NOT_RECORDED">
        <source>Paused for the end of the session, but this volume gives no identity to record the upload under, so --resume cannot take it up. The files that arrived stay; upload the rest again.</source>
        <translation>En pause pour la fin de la session, mais ce volume n’a pas d’identité sous laquelle enregistrer l’envoi : --resume ne pourra pas le reprendre. Les fichiers arrivés restent ; envoyez de nouveau le reste.</translation>
    </message>
    <message id="STATE_NOT_WRITABLE">
        <source>The state of this upload cannot be recorded in %1 (%2): if it is interrupted, --resume cannot take it up.</source>
        <extracomment>Said on stderr when an upload begins. %1 is the state file's folder, %2 the system's reason.</extracomment>
        <translation>L’état de cet envoi ne peut pas être enregistré dans %1 (%2) : s’il est interrompu, --resume ne pourra pas le reprendre.</translation>
    </message>
    <message id="SUSPENDED_STATE_NOT_WRITABLE">
        <source>Paused for the end of the session, but the upload's state could not be recorded in %1, so --resume cannot take it up. The files that arrived stay; upload the rest again.</source>
        <extracomment>%1 is the state file's folder.</extracomment>
        <translation>En pause pour la fin de la session, mais l’état de l’envoi n’a pas pu être enregistré dans %1 : --resume ne pourra pas le reprendre. Les fichiers arrivés restent ; envoyez de nouveau le reste.</translation>
    </message>
    <message id="ENDED_NOTHING_LEFT">
        <source>Ended with the session; every file had been handled, so there is nothing for --resume to take up.</source>
        <translation>Terminé avec la session ; chaque fichier avait été traité, --resume n’a donc rien à reprendre.</translation>
    </message>
    <message id="SUSPENDED">
        <source>Paused and recorded for the end of the session; take it up with --resume.</source>
        <translation>Mis en pause et enregistré pour la fin de la session ; reprenez-le avec --resume.</translation>
    </message>
    <message id="STOPPED">
        <source>Stopped. Files uploaded before the stop stay at the destination.</source>
        <translation>Arrêté. Les fichiers envoyés avant l’arrêt restent à destination.</translation>
    </message>
    <message id="RETRY_QUESTION">
        <source>Press r to try the failed items again, any other key to finish.</source>
        <extracomment>The key r stays as it is.</extracomment>
        <translation>Appuyez sur r pour réessayer les éléments en échec, sur une autre touche pour terminer.</translation>
    </message>
    <message id="TRYING_AGAIN_n" numerus="yes">
        <source>Trying %n failed items again.</source>
        <translation>
            <numerusform>Nouvel essai de %n élément en échec.</numerusform>
            <numerusform>Nouvel essai de %n éléments en échec.</numerusform>
        </translation>
    </message>
    <message id="DESTINATION_LINE">
        <source>Destination: %1 on %2 (%3)</source>
        <extracomment>%1 is the destination as given, %2 the device, %3 the folder it is (a share's smb:// address).</extracomment>
        <translation>Destination : %1 sur %2 (%3)</translation>
    </message>
    <message id="TAKEN_UP_ARRIVED">
        <source>Every file taken up arrived.</source>
        <extracomment>The end of an upload taken up with --resume, when items had failed before the interruption.</extracomment>
        <translation>Tous les fichiers repris sont arrivés.</translation>
    </message>
    <message id="FAILED_BEFORE_HEADING">
        <source>Failed before the upload was interrupted, and not tried again (%1):</source>
        <extracomment>%1 is the number of items; the list follows.</extracomment>
        <translation>Échecs avant l’interruption, non réessayés (%1) :</translation>
    </message>
    <message id="FAILED_HEADING">
        <source>Failed (%1):</source>
        <extracomment>%1 is the number of failed items; the list follows.</extracomment>
        <translation>Échecs (%1) :</translation>
    </message>
    <message id="SUMMARY">
        <source>%1, %2 uploaded to %3 in %4</source>
        <extracomment>The last line: %1 is the number of files, %2 their size, %3 the destination, %4 the time taken.</extracomment>
        <translation>%1, %2 envoyés vers %3 en %4</translation>
    </message>
    <message id="SUMMARY_FAILED_n" numerus="yes">
        <source>; %n items failed</source>
        <extracomment>Added to the last line when items failed.</extracomment>
        <translation>
            <numerusform> ; %n élément en échec</numerusform>
            <numerusform> ; %n éléments en échec</numerusform>
        </translation>
    </message>
    <message id="NO_ACCOUNT">
        <source>The device has no account %1 (it has: %2).</source>
        <extracomment>%1 is the account asked for, %2 the device's accounts.</extracomment>
        <translation>L’appareil n’a pas de compte %1 (comptes : %2).</translation>
    </message>
    <message id="ACCOUNTS_HEADING">
        <source>Accounts on the device:</source>
        <translation>Comptes sur l’appareil :</translation>
    </message>
    <message id="ACCOUNT_PROMPT">
        <source>Account (number or name): </source>
        <translation>Compte (numéro ou nom) : </translation>
    </message>
    <message id="NO_ACCOUNT_CHOSEN">
        <source>No account chosen.</source>
        <translation>Aucun compte choisi.</translation>
    </message>
    <message id="SEVERAL_ACCOUNTS">
        <source>The device has several accounts; choose one with --user (%1).</source>
        <extracomment>%1 lists the accounts.</extracomment>
        <translation>L’appareil a plusieurs comptes ; choisissez-en un avec --user (%1).</translation>
    </message>
    <message id="PASSWORD_PROMPT">
        <source>Password for %1: </source>
        <extracomment>%1 is the account.</extracomment>
        <translation>Mot de passe de %1 : </translation>
    </message>
    <message id="NEEDS_PASSWORD">
        <source>The account %1 needs a password: give it on stdin with --password-stdin.</source>
        <translation>Le compte %1 demande un mot de passe : donnez-le sur stdin avec --password-stdin.</translation>
    </message>
    <message id="NO_PASSWORD">
        <source>No password was given.</source>
        <translation>Aucun mot de passe n’a été donné.</translation>
    </message>
    <message id="PASSWORD_RETRY">
        <source>The device did not accept the password; try again.</source>
        <translation>L’appareil n’a pas accepté le mot de passe ; réessayez.</translation>
    </message>
    <message id="PASSWORD_REFUSED">
        <source>The device did not accept the password for %1.</source>
        <translation>L’appareil n’a pas accepté le mot de passe de %1.</translation>
    </message>
    <message id="SOURCES_PROMPT">
        <source>Files and folders to upload, one per line (an empty line ends the list):</source>
        <translation>Fichiers et dossiers à envoyer, un par ligne (une ligne vide termine la liste) :</translation>
    </message>
    <message id="SOURCE_NOT_FOUND">
        <source>not found (give an absolute path): %1</source>
        <extracomment>%1 is the path typed.</extracomment>
        <translation>introuvable (donnez un chemin absolu) : %1</translation>
    </message>
    <message id="NOTHING_TO_UPLOAD">
        <source>Nothing to upload.</source>
        <translation>Rien à envoyer.</translation>
    </message>
    <message id="SOURCES_LINE">
        <source>Sources: %1</source>
        <extracomment>%1 tells the folders, files and size.</extracomment>
        <translation>Sources : %1</translation>
    </message>
    <message id="MOVE_NOT_CONFIRMED">
        <source>Not uploaded: moving the sources was not confirmed.</source>
        <translation>Non envoyé : le déplacement des sources n’a pas été confirmé.</translation>
    </message>
    <message id="MOVE_QUESTION">
        <source>Go on and move the sources? [y/N] </source>
        <extracomment>The language's own letter for yes (YES_LETTER) moves, and so does y.</extracomment>
        <translation>Continuer et déplacer les sources ? [o/N] </translation>
    </message>
    <message id="NOT_ON_DEVICE">
        <source>%1 is not on the device (its volumes: %2).</source>
        <extracomment>%1 is the folder given, %2 the device's volumes.</extracomment>
        <translation>%1 n’est pas sur l’appareil (ses volumes : %2).</translation>
    </message>
    <message id="NO_SHARE_NAMED">
        <source>The device has no share or volume named %1 (it has: %2).</source>
        <translation>L’appareil n’a ni partage ni volume nommé %1 (disponibles : %2).</translation>
    </message>
    <message id="CLIMBS_OUT">
        <source>The destination may not climb out of its share or volume: %1</source>
        <translation>La destination ne peut pas sortir de son partage ou de son volume : %1</translation>
    </message>
    <message id="NO_FOLDER">
        <source>No folder %1 on the device.</source>
        <translation>Aucun dossier %1 sur l’appareil.</translation>
    </message>
    <message id="SHARES_DID_NOT_COME">
        <source>The device's shares and volumes did not come up.</source>
        <translation>Les partages et volumes de l’appareil ne sont pas apparus.</translation>
    </message>
    <message id="NOTHING_TO_UPLOAD_TO">
        <source>The device offers nothing to upload to.</source>
        <translation>L’appareil n’offre aucune destination d’envoi.</translation>
    </message>
    <message id="NO_DESTINATION">
        <source>No destination: give --destination SHARE/FOLDER (the device has: %1).</source>
        <extracomment>--destination SHARE/FOLDER is the option and its form.</extracomment>
        <translation>Aucune destination : donnez --destination PARTAGE/DOSSIER (disponibles : %1).</translation>
    </message>
    <message id="SHARES_LINE">
        <source>Shares and volumes: %1</source>
        <translation>Partages et volumes : %1</translation>
    </message>
    <message id="DESTINATION_PROMPT">
        <source>Destination (SHARE/FOLDER): </source>
        <translation>Destination (PARTAGE/DOSSIER) : </translation>
    </message>
    <message id="NO_DESTINATION_CHOSEN">
        <source>No destination chosen.</source>
        <translation>Aucune destination choisie.</translation>
    </message>
    <message id="UPLOADING_n" numerus="yes">
        <source>Uploading %n files to %1 on %2</source>
        <extracomment>%1 is the destination, %2 the device.</extracomment>
        <translation>
            <numerusform>Envoi de %n fichier vers %1 sur %2</numerusform>
            <numerusform>Envoi de %n fichiers vers %1 sur %2</numerusform>
        </translation>
    </message>
    <message id="WAITING_FOR_DEVICE">
        <source>%1 is not reachable — waiting for it to come back (s stops).</source>
        <extracomment>%1 is the device; s stays as it is.</extracomment>
        <translation>%1 est injoignable — attente de son retour (s arrête).</translation>
    </message>
    <message id="FLUSHING_AT_END">
        <source>Writing the last data to the disk…</source>
        <extracomment>In the progress line once every file is copied, while the disk is made to hold them.</extracomment>
        <translation>Écriture des dernières données sur le disque…</translation>
    </message>
    <message id="WAITING_FOR_SPACE">
        <source>The device is full — waiting for free space (r looks again now, s stops).</source>
        <translation>L’appareil est plein — attente d’espace libre (r vérifie de nouveau tout de suite, s arrête).</translation>
    </message>
    <message id="ROOM_SHORT">
        <source>Only %1 is free on %2 for the %3 to upload: the upload waits when the device is full, until room is made.</source>
        <extracomment>Said as the upload begins, when the destination has less free room than the upload needs. %1 the free room, %2 the device, %3 the size of the upload.</extracomment>
        <translation>Seulement %1 libres sur %2 pour les %3 à envoyer : quand l’appareil sera plein, l’envoi attendra que de la place soit libérée.</translation>
    </message>
    <message id="ANSWERED_BUT">
        <source>The device at %1 answered, but: %2</source>
        <extracomment>%1 is the device's address, %2 what went wrong.</extracomment>
        <translation>L’appareil à l’adresse %1 a répondu, mais : %2</translation>
    </message>
    <message id="CANNOT_REACH">
        <source>Cannot reach the device at %1.</source>
        <translation>Impossible de joindre l’appareil à l’adresse %1.</translation>
    </message>
    <message id="TRY_AGAIN_PROMPT">
        <source>Try again? [Y/n] </source>
        <extracomment>Enter tries again, n gives up.</extracomment>
        <translation>Réessayer ? [O/n] </translation>
    </message>
    <message id="NOT_UPLOADED_BECAUSE">
        <source>Not uploaded: %1</source>
        <extracomment>%1 says why.</extracomment>
        <translation>Non envoyé : %1</translation>
    </message>
    <message id="NONE">
        <source>none</source>
        <extracomment>Stands for an empty list of accounts, shares or volumes.</extracomment>
        <translation>aucun</translation>
    </message>
    <message id="VOLUMES_NOT_THERE">
        <source>The disk's volume is not there: %1. Attach the disk, or mount the volume at that folder, and try again.</source>
        <extracomment>%1 lists the folders where the disk's volumes should be mounted.</extracomment>
        <translation>Le volume du disque est absent : %1. Branchez le disque ou montez le volume dans ce dossier, puis réessayez.</translation>
    </message>
    <message id="NOT_UPLOADED_UNREACHABLE">
        <source>Not uploaded: cannot reach the device at %1.</source>
        <translation>Non envoyé : impossible de joindre l’appareil à l’adresse %1.</translation>
    </message>
    <message id="YES_LETTER">
        <source>y</source>
        <extracomment>The one letter a user of the language types for yes; y is taken as yes too.</extracomment>
        <translation>o</translation>
    </message>
    <message id="YES_NO_HINT">
        <source>[y/N]</source>
        <extracomment>After a question whose answer is no unless YES_LETTER is typed.</extracomment>
        <translation>[o/N]</translation>
    </message>
    <message id="MOVE_CONFIRMED_BY_OPTION">
        <source>Yes: --move was given, so the sources are moved.</source>
        <extracomment>The answer to the move warning's question when no terminal can ask it.</extracomment>
        <translation>Oui : --move a été donné, les sources sont donc déplacées.</translation>
    </message>
    <message id="RECORDED_FOR_OTHER_NAS">
        <source>There is no interrupted upload to %1 to take up: the one recorded went to the network device with serial number %2. Take it up with that device's options and --resume.</source>
        <extracomment>For --resume when the one upload recorded is another device's; %1 is this device, %2 the other's serial number.</extracomment>
        <translation>Il n’y a pas d’envoi interrompu vers %1 à reprendre : celui qui est enregistré allait vers l’appareil réseau de numéro de série %2. Reprenez-le avec les options de cet appareil et --resume.</translation>
    </message>
    <message id="RECORDED_FOR_OTHER_DAS">
        <source>There is no interrupted upload to %1 to take up: the one recorded went to an attached disk. Take it up with --das, that disk's volume folders and --resume.</source>
        <extracomment>For --resume of a network device when the one upload recorded is an attached disk's; %1 is this device.</extracomment>
        <translation>Il n’y a pas d’envoi interrompu vers %1 à reprendre : celui qui est enregistré allait vers un disque connecté. Reprenez-le avec --das, les dossiers des volumes de ce disque et --resume.</translation>
    </message>
    <message id="LOCAL_DRIVE">
        <source>Local Drive</source>
        <extracomment>The name of an attached disk given without --name.</extracomment>
        <translation>Disque local</translation>
    </message>
    <message id="FULL_AGAIN">
        <source>The device is full again — the file is tried again each second until there is room (s stops).</source>
        <extracomment>A second full device in one upload: no wait with a question, the copy tries again by itself.</extracomment>
        <translation>L’appareil est de nouveau plein — le fichier est réessayé chaque seconde jusqu’à ce qu’il y ait de la place (s arrête).</translation>
    </message>
    <message id="TAKING_UP_MOVING">
        <source>It was started with --move and goes on moving: each file is removed from this computer once it has arrived whole, and the emptied folders go to the Trash.</source>
        <extracomment>Follows the line that says what --resume takes up, when that upload moves its sources.</extracomment>
        <translation>Il a été commencé avec --move et continue de déplacer : chaque fichier est supprimé de cet ordinateur dès qu’il est arrivé entier, et les dossiers vidés vont dans la corbeille.</translation>
    </message>
</context>
</TS>
