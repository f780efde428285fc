<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_GB" sourcelanguage="en_GB">
<context>
    <name>qvtransfer-cli</name>
    <message id="LEFT_WITHOUT_UPLOAD">
        <source>The wizard was left without an upload.</source>
        <translation>The wizard was left without an upload.</translation>
    </message>
    <message id="STOPPED_BEFORE_BEGIN">
        <source>Stopped before the upload began.</source>
        <translation>Stopped before the upload began.</translation>
    </message>
    <message id="UPLOAD_RUNNING">
        <source>Another upload is open in process %1. Only one upload runs at a time, because the record that lets an upload be taken up again holds one: wait until it ends, or stop it, then try again.</source>
        <translation>Another upload is open in process %1. Only one upload runs at a time, because the record that lets an upload be taken up again holds one: wait until it ends, or stop it, then try again.</translation>
    </message>
    <message id="INTERRUPTED_RECORDED">
        <source>An upload to %1 did not finish and is recorded: --resume takes it up. To start a new upload in its place (the recorded one can then no longer be taken up), add --replace-interrupted.</source>
        <translation>An upload to %1 did not finish and is recorded: --resume takes it up. To start a new upload in its place (the recorded one can then no longer be taken up), add --replace-interrupted.</translation>
    </message>
    <message id="INTERRUPTED_OTHER_NAS">
        <source>An upload to the network device with serial number %1 did not finish and is recorded; a new upload would take its place, and it could no longer be taken up. Take it up first (that device's options and --resume), or add --replace-interrupted.</source>
        <translation>An upload to the network device with serial number %1 did not finish and is recorded; a new upload would take its place, and it could no longer be taken up. Take it up first (that device's options and --resume), or add --replace-interrupted.</translation>
    </message>
    <message id="INTERRUPTED_OTHER_DAS">
        <source>An upload to an attached disk did not finish and is recorded; a new upload would take its place, and it could no longer be taken up. Take it up first (that disk's options and --resume), or add --replace-interrupted.</source>
        <translation>An upload to an attached disk did not finish and is recorded; a new upload would take its place, and it could no longer be taken up. Take it up first (that disk's options and --resume), or add --replace-interrupted.</translation>
    </message>
    <message id="TAKING_UP_RECORDED">
        <source>Taking up the upload recorded in the state file...</source>
        <translation>Taking up the upload recorded in the state file...</translation>
    </message>
    <message id="TAKING_UP">
        <source>Taking up %1 (%2, %3) to %4 on %5</source>
        <extracomment>%1 is the number of items, %2 the number of files, %3 their size, %4 the destination folder, %5 the device.</extracomment>
        <translation>Taking up %1 (%2, %3) to %4 on %5</translation>
    </message>
    <message id="ITEMS_n" numerus="yes">
        <source>%n items</source>
        <translation>
            <numerusform>%n item</numerusform>
            <numerusform>%n items</numerusform>
        </translation>
    </message>
    <message id="FILES_n" numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n file</numerusform>
            <numerusform>%n files</numerusform>
        </translation>
    </message>
    <message id="FOLDERS_n" numerus="yes">
        <source>%n folders</source>
        <translation>
            <numerusform>%n folder</numerusform>
            <numerusform>%n folders</numerusform>
        </translation>
    </message>
    <message id="BYTES_n" numerus="yes">
        <source>%n bytes</source>
        <extracomment>A size below a kilobyte.</extracomment>
        <translation>
            <numerusform>%n byte</numerusform>
            <numerusform>%n bytes</numerusform>
        </translation>
    </message>
    <message id="SIZE_KB">
        <source>%1 KB</source>
        <extracomment>%1 is a number with one decimal; decimal units (1 KB = 1000 bytes).</extracomment>
        <translation>%1 KB</translation>
    </message>
    <message id="SIZE_MB">
        <source>%1 MB</source>
        <translation>%1 MB</translation>
    </message>
    <message id="SIZE_GB">
        <source>%1 GB</source>
        <translation>%1 GB</translation>
    </message>
    <message id="SIZE_TB">
        <source>%1 TB</source>
        <translation>%1 TB</translation>
    </message>
    <message id="SIZE_PB">
        <source>%1 PB</source>
        <translation>%1 PB</translation>
    </message>
    <message id="SIZE_EB">
        <source>%1 EB</source>
        <translation>%1 EB</translation>
    </message>
    <message id="RATE">
        <source>%1/s</source>
        <extracomment>%1 is a size; the amount copied each second.</extracomment>
        <translation>%1/s</translation>
    </message>
    <message id="DURATION_SECONDS">
        <source>%1 s</source>
        <extracomment>%1 is a number of seconds, with one decimal below ten.</extracomment>
        <translation>%1 s</translation>
    </message>
    <message id="DURATION_MINUTES">
        <source>%1 min %2 s</source>
        <extracomment>%1 minutes and %2 seconds.</extracomment>
        <translation>%1 min %2 s</translation>
    </message>
    <message id="DURATION_HOURS">
        <source>%1 h %2 min</source>
        <extracomment>%1 hours and %2 minutes.</extracomment>
        <translation>%1 h %2 min</translation>
    </message>
    <message id="PROGRESS_COUNTS">
        <source>Files %1 of %2 | %3 of %4</source>
        <extracomment>%1 files handled of %2; %3 copied of %4.</extracomment>
        <translation>Files %1 of %2 | %3 of %4</translation>
    </message>
    <message id="KEYS_WHILE_COPYING">
        <source>[p pause, s stop]</source>
        <extracomment>The keys that act during the upload; the letters stay as they are.</extracomment>
        <translation>[p pause, s stop]</translation>
    </message>
    <message id="KEYS_WHILE_PAUSED">
        <source>[r resume, s stop]</source>
        <translation>[r resume, s stop]</translation>
    </message>
    <message id="DEVICE_BACK">
        <source>The device is back; the upload continues.</source>
        <translation>The device is back; the upload continues.</translation>
    </message>
    <message id="ROOM_AGAIN">
        <source>There is room again; the upload continues.</source>
        <translation>There is room again; the upload continues.</translation>
    </message>
    <message id="PAUSED">
        <source>Paused.</source>
        <translation>Paused.</translation>
    </message>
    <message id="PAUSED_AFTER_FILE">
        <source>Paused once the file being copied is finished.</source>
        <extracomment>The pause key pressed while a file is copied: that file is finished first.</extracomment>
        <translation>Paused once the file being copied is finished.</translation>
    </message>
    <message id="RESUMED">
        <source>Resumed.</source>
        <translation>Resumed.</translation>
    </message>
    <message id="ANSWER_YES">
        <source>yes</source>
        <extracomment>The answer to the stop question, echoed after the key y.</extracomment>
        <translation>yes</translation>
    </message>
    <message id="ANSWER_NO">
        <source>no</source>
        <translation>no</translation>
    </message>
    <message id="STOP_QUESTION">
        <source>Stop the upload?</source>
        <extracomment>Asked when the device gives no question of its own; y stops.</extracomment>
        <translation>Stop the upload?</translation>
    </message>
    <message id="ENDED_BEFORE_TAKEN_UP">
        <source>Ended before the upload was taken up; the record stays for --resume.</source>
        <translation>Ended before the upload was taken up; the record stays for --resume.</translation>
    </message>
    <message id="ENDED_BEFORE_BEGIN">
        <source>Ended before the upload began.</source>
        <translation>Ended before the upload began.</translation>
    </message>
    <message id="SUSPENDED_NOT_RECORDED">
        <source>Paused for the end of the session, but this volume gives no identity to record the upload under, so --resume cannot take it up. The files that arrived stay; upload the rest again.</source>
        <translation>Paused for the end of the session, but this volume gives no identity to record the upload under, so --resume cannot take it up. The files that arrived stay; upload the rest again.</translation>
    </message>
    <message id="STATE_NOT_WRITABLE">
        <source>The state of this upload cannot be recorded in %1 (%2): if it is interrupted, --resume cannot take it up.</source>
        <extracomment>Said on stderr when an upload begins. %1 is the state file's folder, %2 the system's reason.</extracomment>
        <translation>The state of this upload cannot be recorded in %1 (%2): if it is interrupted, --resume cannot take it up.</translation>
    </message>
    <message id="SUSPENDED_STATE_NOT_WRITABLE">
        <source>Paused for the end of the session, but the upload's state could not be recorded in %1, so --resume cannot take it up. The files that arrived stay; upload the rest again.</source>
        <extracomment>%1 is the state file's folder.</extracomment>
        <translation>Paused for the end of the session, but the upload's state could not be recorded in %1, so --resume cannot take it up. The files that arrived stay; upload the rest again.</translation>
    </message>
    <message id="ENDED_NOTHING_LEFT">
        <source>Ended with the session; every file had been handled, so there is nothing for --resume to take up.</source>
        <translation>Ended with the session; every file had been handled, so there is nothing for --resume to take up.</translation>
    </message>
    <message id="SUSPENDED">
        <source>Paused and recorded for the end of the session; take it up with --resume.</source>
        <translation>Paused and recorded for the end of the session; take it up with --resume.</translation>
    </message>
    <message id="STOPPED">
        <source>Stopped. Files uploaded before the stop stay at the destination.</source>
        <translation>Stopped. Files uploaded before the stop stay at the destination.</translation>
    </message>
    <message id="RETRY_QUESTION">
        <source>Press r to try the failed items again, any other key to finish.</source>
        <extracomment>The key r stays as it is.</extracomment>
        <translation>Press r to try the failed items again, any other key to finish.</translation>
    </message>
    <message id="TRYING_AGAIN_n" numerus="yes">
        <source>Trying %n failed items again.</source>
        <translation>
            <numerusform>Trying %n failed item again.</numerusform>
            <numerusform>Trying %n failed items again.</numerusform>
        </translation>
    </message>
    <message id="DESTINATION_LINE">
        <source>Destination: %1 on %2 (%3)</source>
        <extracomment>%1 is the destination as given, %2 the device, %3 the folder it is (a share's smb:// address).</extracomment>
        <translation>Destination: %1 on %2 (%3)</translation>
    </message>
    <message id="TAKEN_UP_ARRIVED">
        <source>Every file taken up arrived.</source>
        <extracomment>The end of an upload taken up with --resume, when items had failed before the interruption.</extracomment>
        <translation>Every file taken up arrived.</translation>
    </message>
    <message id="FAILED_BEFORE_HEADING">
        <source>Failed before the upload was interrupted, and not tried again (%1):</source>
        <extracomment>%1 is the number of items; the list follows.</extracomment>
        <translation>Failed before the upload was interrupted, and not tried again (%1):</translation>
    </message>
    <message id="FAILED_HEADING">
        <source>Failed (%1):</source>
        <extracomment>%1 is the number of failed items; the list follows.</extracomment>
        <translation>Failed (%1):</translation>
    </message>
    <message id="SUMMARY">
        <source>%1, %2 uploaded to %3 in %4</source>
        <extracomment>The last line: %1 is the number of files, %2 their size, %3 the destination, %4 the time taken.</extracomment>
        <translation>%1, %2 uploaded to %3 in %4</translation>
    </message>
    <message id="SUMMARY_FAILED_n" numerus="yes">
        <source>; %n items failed</source>
        <extracomment>Added to the last line when items failed.</extracomment>
        <translation>
            <numerusform>; %n item failed</numerusform>
            <numerusform>; %n items failed</numerusform>
        </translation>
    </message>
    <message id="NO_ACCOUNT">
        <source>The device has no account %1 (it has: %2).</source>
        <extracomment>%1 is the account asked for, %2 the device's accounts.</extracomment>
        <translation>The device has no account %1 (it has: %2).</translation>
    </message>
    <message id="ACCOUNTS_HEADING">
        <source>Accounts on the device:</source>
        <translation>Accounts on the device:</translation>
    </message>
    <message id="ACCOUNT_PROMPT">
        <source>Account (number or name): </source>
        <translation>Account (number or name): </translation>
    </message>
    <message id="NO_ACCOUNT_CHOSEN">
        <source>No account chosen.</source>
        <translation>No account chosen.</translation>
    </message>
    <message id="SEVERAL_ACCOUNTS">
        <source>The device has several accounts; choose one with --user (%1).</source>
        <extracomment>%1 lists the accounts.</extracomment>
        <translation>The device has several accounts; choose one with --user (%1).</translation>
    </message>
    <message id="PASSWORD_PROMPT">
        <source>Password for %1: </source>
        <extracomment>%1 is the account.</extracomment>
        <translation>Password for %1: </translation>
    </message>
    <message id="NEEDS_PASSWORD">
        <source>The account %1 needs a password: give it on stdin with --password-stdin.</source>
        <translation>The account %1 needs a password: give it on stdin with --password-stdin.</translation>
    </message>
    <message id="NO_PASSWORD">
        <source>No password was given.</source>
        <translation>No password was given.</translation>
    </message>
    <message id="PASSWORD_RETRY">
        <source>The device did not accept the password; try again.</source>
        <translation>The device did not accept the password; try again.</translation>
    </message>
    <message id="PASSWORD_REFUSED">
        <source>The device did not accept the password for %1.</source>
        <translation>The device did not accept the password for %1.</translation>
    </message>
    <message id="SOURCES_PROMPT">
        <source>Files and folders to upload, one per line (an empty line ends the list):</source>
        <translation>Files and folders to upload, one per line (an empty line ends the list):</translation>
    </message>
    <message id="SOURCE_NOT_FOUND">
        <source>not found (give an absolute path): %1</source>
        <extracomment>%1 is the path typed.</extracomment>
        <translation>not found (give an absolute path): %1</translation>
    </message>
    <message id="NOTHING_TO_UPLOAD">
        <source>Nothing to upload.</source>
        <translation>Nothing to upload.</translation>
    </message>
    <message id="SOURCES_LINE">
        <source>Sources: %1</source>
        <extracomment>%1 tells the folders, files and size.</extracomment>
        <translation>Sources: %1</translation>
    </message>
    <message id="MOVE_NOT_CONFIRMED">
        <source>Not uploaded: moving the sources was not confirmed.</source>
        <translation>Not uploaded: moving the sources was not confirmed.</translation>
    </message>
    <message id="MOVE_QUESTION">
        <source>Go on and move the sources? [y/N] </source>
        <extracomment>The language's own letter for yes (YES_LETTER) moves, and so does y.</extracomment>
        <translation>Go on and move the sources? [y/N] </translation>
    </message>
    <message id="NOT_ON_DEVICE">
        <source>%1 is not on the device (its volumes: %2).</source>
        <extracomment>%1 is the folder given, %2 the device's volumes.</extracomment>
        <translation>%1 is not on the device (its volumes: %2).</translation>
    </message>
    <message id="NO_SHARE_NAMED">
        <source>The device has no share or volume named %1 (it has: %2).</source>
        <translation>The device has no share or volume named %1 (it has: %2).</translation>
    </message>
    <message id="CLIMBS_OUT">
        <source>The destination may not climb out of its share or volume: %1</source>
        <translation>The destination may not climb out of its share or volume: %1</translation>
    </message>
    <message id="NO_FOLDER">
        <source>No folder %1 on the device.</source>
        <translation>No folder %1 on the device.</translation>
    </message>
    <message id="SHARES_DID_NOT_COME">
        <source>The device's shares and volumes did not come up.</source>
        <translation>The device's shares and volumes did not come up.</translation>
    </message>
    <message id="NOTHING_TO_UPLOAD_TO">
        <source>The device offers nothing to upload to.</source>
        <translation>The device offers nothing to upload to.</translation>
    </message>
    <message id="NO_DESTINATION">
        <source>No destination: give --destination SHARE/FOLDER (the device has: %1).</source>
        <extracomment>--destination SHARE/FOLDER is the option and its form.</extracomment>
        <translation>No destination: give --destination SHARE/FOLDER (the device has: %1).</translation>
    </message>
    <message id="SHARES_LINE">
        <source>Shares and volumes: %1</source>
        <translation>Shares and volumes: %1</translation>
    </message>
    <message id="DESTINATION_PROMPT">
        <source>Destination (SHARE/FOLDER): </source>
        <translation>Destination (SHARE/FOLDER): </translation>
    </message>
    <message id="NO_DESTINATION_CHOSEN">
        <source>No destination chosen.</source>
        <translation>No destination chosen.</translation>
    </message>
    <message id="UPLOADING_n" numerus="yes">
        <source>Uploading %n files to %1 on %2</source>
        <extracomment>%1 is the destination, %2 the device.</extracomment>
        <translation>
            <numerusform>Uploading %n file to %1 on %2</numerusform>
            <numerusform>Uploading %n files to %1 on %2</numerusform>
        </translation>
    </message>
    <message id="WAITING_FOR_DEVICE">
        <source>%1 is not reachable — waiting for it to come back (s stops).</source>
        <extracomment>%1 is the device; s stays as it is.</extracomment>
        <translation>%1 is not reachable — waiting for it to come back (s stops).</translation>
    </message>
    <message id="FLUSHING_AT_END">
        <source>Writing the last data to the disk…</source>
        <extracomment>In the progress line once every file is copied, while the disk is made to hold them.</extracomment>
        <translation>Writing the last data to the disk…</translation>
    </message>
    <message id="WAITING_FOR_SPACE">
        <source>The device is full — waiting for free space (r looks again now, s stops).</source>
        <translation>The device is full — waiting for free space (r looks again now, s stops).</translation>
    </message>
    <message id="ROOM_SHORT">
        <source>Only %1 is free on %2 for the %3 to upload: the upload waits when the device is full, until room is made.</source>
        <extracomment>Said as the upload begins, when the destination has less free room than the upload needs. %1 the free room, %2 the device, %3 the size of the upload.</extracomment>
        <translation>Only %1 is free on %2 for the %3 to upload: the upload waits when the device is full, until room is made.</translation>
    </message>
    <message id="ANSWERED_BUT">
        <source>The device at %1 answered, but: %2</source>
        <extracomment>%1 is the device's address, %2 what went wrong.</extracomment>
        <translation>The device at %1 answered, but: %2</translation>
    </message>
    <message id="CANNOT_REACH">
        <source>Cannot reach the device at %1.</source>
        <translation>Cannot reach the device at %1.</translation>
    </message>
    <message id="TRY_AGAIN_PROMPT">
        <source>Try again? [Y/n] </source>
        <extracomment>Enter tries again, n gives up.</extracomment>
        <translation>Try again? [Y/n] </translation>
    </message>
    <message id="NOT_UPLOADED_BECAUSE">
        <source>Not uploaded: %1</source>
        <extracomment>%1 says why.</extracomment>
        <translation>Not uploaded: %1</translation>
    </message>
    <message id="NONE">
        <source>none</source>
        <extracomment>Stands for an empty list of accounts, shares or volumes.</extracomment>
        <translation>none</translation>
    </message>
    <message id="VOLUMES_NOT_THERE">
        <source>The disk's volume is not there: %1. Attach the disk, or mount the volume at that folder, and try again.</source>
        <extracomment>%1 lists the folders where the disk's volumes should be mounted.</extracomment>
        <translation>The disk's volume is not there: %1. Attach the disk, or mount the volume at that folder, and try again.</translation>
    </message>
    <message id="NOT_UPLOADED_UNREACHABLE">
        <source>Not uploaded: cannot reach the device at %1.</source>
        <translation>Not uploaded: cannot reach the device at %1.</translation>
    </message>
    <message id="YES_LETTER">
        <source>y</source>
        <extracomment>The one letter a user of the language types for yes; y is taken as yes too.</extracomment>
        <translation>y</translation>
    </message>
    <message id="YES_NO_HINT">
        <source>[y/N]</source>
        <extracomment>After a question whose answer is no unless YES_LETTER is typed.</extracomment>
        <translation>[y/N]</translation>
    </message>
    <message id="MOVE_CONFIRMED_BY_OPTION">
        <source>Yes: --move was given, so the sources are moved.</source>
        <extracomment>The answer to the move warning's question when no terminal can ask it.</extracomment>
        <translation>Yes: --move was given, so the sources are moved.</translation>
    </message>
    <message id="RECORDED_FOR_OTHER_NAS">
        <source>There is no interrupted upload to %1 to take up: the one recorded went to the network device with serial number %2. Take it up with that device's options and --resume.</source>
        <extracomment>For --resume when the one upload recorded is another device's; %1 is this device, %2 the other's serial number.</extracomment>
        <translation>There is no interrupted upload to %1 to take up: the one recorded went to the network device with serial number %2. Take it up with that device's options and --resume.</translation>
    </message>
    <message id="RECORDED_FOR_OTHER_DAS">
        <source>There is no interrupted upload to %1 to take up: the one recorded went to an attached disk. Take it up with --das, that disk's volume folders and --resume.</source>
        <extracomment>For --resume of a network device when the one upload recorded is an attached disk's; %1 is this device.</extracomment>
        <translation>There is no interrupted upload to %1 to take up: the one recorded went to an attached disk. Take it up with --das, that disk's volume folders and --resume.</translation>
    </message>
    <message id="LOCAL_DRIVE">
        <source>Local Drive</source>
        <extracomment>The name of an attached disk given without --name.</extracomment>
        <translation>Local Drive</translation>
    </message>
    <message id="FULL_AGAIN">
        <source>The device is full again — the file is tried again each second until there is room (s stops).</source>
        <extracomment>A second full device in one upload: no wait with a question, the copy tries again by itself.</extracomment>
        <translation>The device is full again — the file is tried again each second until there is room (s stops).</translation>
    </message>
    <message id="TAKING_UP_MOVING">
        <source>It was started with --move and goes on moving: each file is removed from this computer once it has arrived whole, and the emptied folders go to the Trash.</source>
        <extracomment>Follows the line that says what --resume takes up, when that upload moves its sources.</extracomment>
        <translation>It was started with --move and goes on moving: each file is removed from this computer once it has arrived whole, and the emptied folders go to the Trash.</translation>
    </message>
</context>
</TS>
