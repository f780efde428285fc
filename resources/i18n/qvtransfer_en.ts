<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_GB">
<context>
    <name>QVTransfer</name>
    <message id="CHOOSE_DEVICE_title">
        <source>Choose a Device</source>
        <translation>Choose a Device</translation>
    </message>
    <message id="CHOOSE_FILES_TO_UPLOAD_title">
        <source>Choose Files to Upload</source>
        <translation>Choose Files to Upload</translation>
    </message>
    <message id="CHOOSE_USER_title">
        <source>Choose a User</source>
        <translation>Choose a User</translation>
    </message>
    <message id="UPLOADING_FILES_TO_title">
        <source>Upload Files to %@</source>
        <extracomment>%@ is replaced by the name of the device. Heading shown when the device has not been used for uploads yet.</extracomment>
        <translation>Upload Files to %@</translation>
    </message>
    <message id="UPLOAD_ERRORS_title">
        <source>Upload Errors (%@)</source>
        <extracomment>Heading of the error window. %@ is replaced by the number of items that failed.</extracomment>
        <translation>Upload Errors (%@)</translation>
    </message>
    <message id="UPLOAD_ERROR_title">
        <source>Upload Error</source>
        <translation>Upload Error</translation>
    </message>
    <message id="CHOOSE_UPLOAD_LOCATION_title">
        <source>Choose a Location on %@</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Choose a Location on %@</translation>
    </message>
    <message id="CHOOSE_FILE_HYPERLINK_btn">
        <source>choose files</source>
        <extracomment>Link that follows the drop-area text ending in “or”.</extracomment>
        <translation>choose files</translation>
    </message>
    <message id="CHOOSE_FOLDERS_FILES_HYPERLINK_btn">
        <source>choose folders and files</source>
        <extracomment>Link that follows the drop-area text ending in “or”.</extracomment>
        <translation>choose folders and files</translation>
    </message>
    <message id="DEVICE_NOT_APPEARING_HYPERLINK_btn">
        <source>Don’t see your device?</source>
        <translation>Don’t see your device?</translation>
    </message>
    <message id="CREATE_NEW_FOLDER_btn">
        <source>Create new folder</source>
        <translation>Create new folder</translation>
    </message>
    <message id="REMOVE_FILES_btn">
        <source>Remove files from this computer after uploading</source>
        <extracomment>Check box on the file selection screen.</extracomment>
        <translation>Remove files from this computer after uploading</translation>
    </message>
    <message id="KEEP_UPLOADING_btn">
        <source>Keep Uploading</source>
        <translation>Keep Uploading</translation>
    </message>
    <message id="STOP_UPLOAD_btn">
        <source>Stop Upload</source>
        <translation>Stop Upload</translation>
    </message>
    <message id="BACK_btn">
        <source>Back</source>
        <translation>Back</translation>
    </message>
    <message id="NEXT_btn">
        <source>Next</source>
        <translation>Next</translation>
    </message>
    <message id="CANCEL_btn">
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message id="CLOSE_btn">
        <source>Close</source>
        <translation>Close</translation>
    </message>
    <message id="STOP_btn">
        <source>Stop</source>
        <translation>Stop</translation>
    </message>
    <message id="OK_btn">
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message id="NO_btn">
        <source>No</source>
        <translation>No</translation>
    </message>
    <message id="YES_btn">
        <source>Yes</source>
        <translation>Yes</translation>
    </message>
    <message id="HIDE_btn">
        <source>Hide</source>
        <translation>Hide</translation>
    </message>
    <message id="UPLOAD_btn">
        <source>Upload</source>
        <translation>Upload</translation>
    </message>
    <message id="CONTINUE_UPLOAD_btn">
        <source>Continue</source>
        <translation>Continue</translation>
    </message>
    <message id="VIEW_NOW_btn">
        <source>View now</source>
        <extracomment>Link placed right after the count of files that were not uploaded.</extracomment>
        <translation>View now</translation>
    </message>
    <message id="HIDE_DETAILS_btn">
        <source>Hide Details</source>
        <translation>Hide Details</translation>
    </message>
    <message id="SHOW_DETAILS_btn">
        <source>Show Details</source>
        <translation>Show Details</translation>
    </message>
    <message id="DISMISS_ALL_btn">
        <source>Dismiss All</source>
        <translation>Dismiss All</translation>
    </message>
    <message id="RETRY_ALL_btn">
        <source>Retry All</source>
        <translation>Retry All</translation>
    </message>
    <message id="LOST_CONNECTION_CANCEL_btn">
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message id="LOST_CONNECTION_RETRY_btn">
        <source>Try Again</source>
        <translation>Try Again</translation>
    </message>
    <message id="UPLOADING_FILES_TO_txt">
        <source>Upload Files to %@</source>
        <extracomment>%@ is replaced by the name of the device. The window's heading, as UPLOADING_FILES_TO_title is on the first screen of a device not used yet: both in title case.</extracomment>
        <translation>Upload Files to %@</translation>
    </message>
    <message id="NEW_FOLDER_txt">
        <source>New Folder</source>
        <extracomment>Default name of a newly created folder.</extracomment>
        <translation>New Folder</translation>
    </message>
    <message id="SEARCHING_NETWORK_txt">
        <source>Searching the network…</source>
        <translation>Searching the network…</translation>
    </message>
    <message id="CHOOSE_DEVICE_TO_UPLOAD_txt">
        <source>Choose the device you want to upload your files to.</source>
        <translation>Choose the device you want to upload your files to.</translation>
    </message>
    <message id="SEARCHING_txt">
        <source>Searching…</source>
        <translation>Searching…</translation>
    </message>
    <message id="SEARCHING_FOR_DEVICES_txt">
        <source>Searching for devices…</source>
        <translation>Searching for devices…</translation>
    </message>
    <message id="UPLOADING_MULTIPLE_FILES_txt">
        <source>Uploading file %@ of %@</source>
        <extracomment>First %@: number of the file being uploaded; second %@: total number of files.</extracomment>
        <translation>Uploading file %@ of %@</translation>
    </message>
    <message id="UPLOADING_ONE_FILE_txt">
        <source>Uploading one file</source>
        <translation>Uploading one file</translation>
    </message>
    <message id="UPLOAD_PAUSED_txt">
        <source>Upload paused</source>
        <translation>Upload paused</translation>
    </message>
    <message id="ESTIMATED_TIME_REMAINING_txt">
        <source>Estimated time remaining: </source>
        <extracomment>Followed directly by “calculating…” or by the estimate; keep the trailing space.</extracomment>
        <translation>Estimated time remaining: </translation>
    </message>
    <message id="UPLOAD_COMPLETE_txt">
        <source>Upload complete</source>
        <translation>Upload complete</translation>
    </message>
    <message id="ALL_FILES_SUCCESSFULLY_UPLOADED_txt">
        <source>All files were uploaded successfully.</source>
        <translation>All files were uploaded successfully.</translation>
    </message>
    <message id="SOME_FILES_SUCCESSFULLY_UPLOADED_TO_txt">
        <source>%@ of %@ files uploaded</source>
        <extracomment>First %@: number of files uploaded; second %@: total number of files.</extracomment>
        <translation>%@ of %@ files uploaded</translation>
    </message>
    <message id="NO_FILE_SUCCESSFULLY_UPLOADED_TO_txt">
        <source>No files could be uploaded.</source>
        <translation>No files could be uploaded.</translation>
    </message>
    <message id="FILES_FAILED_TO_UPLOAD_txt">
        <source>Files not uploaded: %@</source>
        <extracomment>%@ is replaced by the number of items that failed.</extracomment>
        <translation>Files not uploaded: %@</translation>
    </message>
    <message id="FILE_FAILED_TO_UPLOAD_txt">
        <source>One file could not be uploaded.</source>
        <translation>One file could not be uploaded.</translation>
    </message>
    <message id="CHOOSE_USER_TO_CONNECT_txt">
        <source>Choose the user account to connect with.</source>
        <translation>Choose the user account to connect with.</translation>
    </message>
    <message id="DRAG_AND_DROP_OR_txt">
        <source>Drag and drop files here, or</source>
        <extracomment>Followed by the link “choose files”.</extracomment>
        <translation>Drag and drop files here, or</translation>
    </message>
    <message id="DRAG_FOLDERS_FILES_HERE_txt">
        <source>Drag folders and files here</source>
        <translation>Drag folders and files here</translation>
    </message>
    <message id="OR_txt">
        <source>or</source>
        <translation>or</translation>
    </message>
    <message id="STOP_UPLOAD_PROMPT_txt">
        <source>Do you want to stop the upload? Files that have already been uploaded stay on the device.</source>
        <translation>Do you want to stop the upload? Files that have already been uploaded stay on the device.</translation>
    </message>
    <message id="CANCEL_TRANSFER_PROMPT_txt">
        <source>Do you want to cancel the upload?</source>
        <translation>Do you want to cancel the upload?</translation>
    </message>
    <message id="INCORRECT_PASSWORD_txt">
        <source>The password is incorrect. Please try again.</source>
        <translation>The password is incorrect. Please try again.</translation>
    </message>
    <message id="PASSWORD_txt">
        <source>Password</source>
        <translation>Password</translation>
    </message>
    <message id="VOLUME_txt">
        <source>Volume</source>
        <translation>Volume</translation>
    </message>
    <message id="CONFIRM_QUIT_DECISION_txt">
        <source>An upload is in progress. Do you want to quit anyway?</source>
        <translation>An upload is in progress. Do you want to quit anyway?</translation>
    </message>
    <message id="DEVICE_DISCONNECT_txt">
        <source>Connection to %@ lost</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Connection to %@ lost</translation>
    </message>
    <message id="DEVICE_DISCONNECT_MSG_txt">
        <source>The upload will continue when the connection is restored.</source>
        <translation>The upload will continue when the connection is restored.</translation>
    </message>
    <message id="CONNECTION_RESTORED_txt">
        <source>Connection restored</source>
        <translation>Connection restored</translation>
    </message>
    <message id="CONNECTION_RESTORED_MSG_txt">
        <source>Upload resumed</source>
        <translation>Upload resumed</translation>
    </message>
    <message id="DEVICE_DISCONNECT_WARNING_txt">
        <source>The device was disconnected during the upload. The upload is paused and will continue automatically as soon as the device is available again.</source>
        <extracomment>Shown above the text about stopping the upload, separated by a blank line.</extracomment>
        <translation>The device was disconnected during the upload. The upload is paused and will continue automatically as soon as the device is available again.</translation>
    </message>
    <message id="CANCEL_UPLOAD_WARNING_txt">
        <source>If you stop the upload instead, the files uploaded so far stay on the device.</source>
        <extracomment>Second paragraph of the disconnected and device-full messages.</extracomment>
        <translation>If you stop the upload instead, the files uploaded so far stay on the device.</translation>
    </message>
    <message id="CALCULATING_txt">
        <source>calculating…</source>
        <extracomment>Follows “Estimated time remaining: ”.</extracomment>
        <translation>calculating…</translation>
    </message>
    <message id="COPY_txt">
        <source>copy</source>
        <extracomment>Added to a file name that already exists at the destination, as in “report copy” and “report copy 2”.</extracomment>
        <translation>copy</translation>
    </message>
    <message id="DEVICE_LOST_CONNECTION_MSG_txt">
        <source>The connection to %@ was interrupted. Check that the device is switched on and connected.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>The connection to %@ was interrupted. Check that the device is switched on and connected.</translation>
    </message>
    <message id="RECONNECTING_txt">
        <source>Reconnecting…</source>
        <translation>Reconnecting…</translation>
    </message>
    <message id="LOST_CONNECTION_MSG_txt">
        <source>Could not connect to %@. Make sure the device is switched on and connected, then try again.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>Could not connect to %@. Make sure the device is switched on and connected, then try again.</translation>
    </message>
    <message id="DEVICE_FULL_WARNING_txt">
        <source>The device does not have enough free space for the remaining files. Free up some space on it and the upload will continue automatically.</source>
        <extracomment>Shown above the text about stopping the upload, separated by a blank line.</extracomment>
        <translation>The device does not have enough free space for the remaining files. Free up some space on it and the upload will continue automatically.</translation>
    </message>
    <message id="DEVICE_FULL_MSG_txt">
        <source>%@ is full</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>%@ is full</translation>
    </message>
    <message id="RESUME_NOTHING_txt">
        <source>There is no interrupted upload to %@ to take up.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>There is no interrupted upload to %@ to take up.</translation>
    </message>
    <message id="RESUME_UNREADABLE_txt">
        <source>The record of the interrupted upload could not be read, so the upload cannot be taken up.</source>
        <translation>The record of the interrupted upload could not be read, so the upload cannot be taken up.</translation>
    </message>
    <message id="DESTINATION_OFF_VOLUME_txt">
        <source>The folder %@ leads off %@ through a link. Choose a folder on the device itself.</source>
        <extracomment>The first %@ is replaced by the destination folder, the second by the name of the device.</extracomment>
        <translation>The folder %@ leads off %@ through a link. Choose a folder on the device itself.</translation>
    </message>
    <message id="SOURCE_IN_DESTINATION_txt">
        <source>%@ is already in the destination folder, so it cannot be uploaded there: it would be copied onto itself. Choose another destination.</source>
        <extracomment>%@ is replaced by the source item.</extracomment>
        <translation>%@ is already in the destination folder, so it cannot be uploaded there: it would be copied onto itself. Choose another destination.</translation>
    </message>
    <message id="SOURCE_CHANGING_txt">
        <source>The file changed while it was being uploaded, again and again. Upload it once nothing writes to it any more.</source>
        <extracomment>A failed file's reason: its source was written to while it was copied, copy after copy.</extracomment>
        <translation>The file changed while it was being uploaded, again and again. Upload it once nothing writes to it any more.</translation>
    </message>
    <message id="UPLOADED_FILES_NOT_OPENED_txt">
        <source>No program on this computer opened the folder that holds the uploaded files. You find them at %@.</source>
        <extracomment>Shown when the link to the uploaded files was pressed but the desktop has no program that opens the folder. %@ is replaced by the folder's path, or by the share's address.</extracomment>
        <translation>No program on this computer opened the folder that holds the uploaded files. You find them at %@.</translation>
    </message>
    <message id="NOT_WRITTEN_TO_DISK_txt">
        <source>The disk did not confirm that the file was written to it (%@). Check the disk, then upload the file again.</source>
        <extracomment>A failed file's reason: the flush of the attached disk at the end of the upload failed, so the file may not be on it. %@ is replaced by the system's description of the error.</extracomment>
        <translation>The disk did not confirm that the file was written to it (%@). Check the disk, then upload the file again.</translation>
    </message>
    <message id="SIZE_NOT_AS_READ_txt">
        <source>The file's size does not match what can be read from it (files of the system itself, such as those in /proc, give no true size), so it cannot be copied whole.</source>
        <extracomment>A failed file's reason: the source's size differs from what was read from it, while the destination works.</extracomment>
        <translation>The file's size does not match what can be read from it (files of the system itself, such as those in /proc, give no true size), so it cannot be copied whole.</translation>
    </message>
    <message id="NAME_TOO_LONG_txt">
        <source>The name “%@” is too long for the device, which holds names of up to 255 bytes.</source>
        <extracomment>A failed item's reason. %@ is replaced by the name it was to have at the destination (with the clash rule's “copy” when the name was taken).</extracomment>
        <translation>The name “%@” is too long for the device, which holds names of up to 255 bytes.</translation>
    </message>
    <message id="DESTINATION_IN_SOURCE_txt">
        <source>The destination folder is inside %@, which is being uploaded: a folder cannot be uploaded into itself. Choose a destination outside it.</source>
        <extracomment>%@ is replaced by the source folder.</extracomment>
        <translation>The destination folder is inside %@, which is being uploaded: a folder cannot be uploaded into itself. Choose a destination outside it.</translation>
    </message>
    <message id="RESUME_ACCOUNT_REFUSED_txt">
        <source>%@ did not accept the account name or password, so the interrupted upload cannot be taken up. Give the account's password again and try once more.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>%@ did not accept the account name or password, so the interrupted upload cannot be taken up. Give the account's password again and try once more.</translation>
    </message>
    <message id="RESUME_NO_ACCOUNT_txt">
        <source>No account for %@ is stored on this computer, so the interrupted upload cannot be taken up. Give the account's name and password and try once more.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>No account for %@ is stored on this computer, so the interrupted upload cannot be taken up. Give the account's name and password and try once more.</translation>
    </message>
    <message id="RESUME_NOT_MOUNTED_txt">
        <source>The destination on %@ could not be reached, so the interrupted upload cannot be taken up now.</source>
        <extracomment>%@ is replaced by the name of the device.</extracomment>
        <translation>The destination on %@ could not be reached, so the interrupted upload cannot be taken up now.</translation>
    </message>
    <message id="RESUME_FOLDER_GONE_txt">
        <source>The destination folder “%@” is no longer on %@, so the interrupted upload cannot be taken up now. Put the folder back where it was and try again.</source>
        <extracomment>The first %@ is replaced by the name of the destination folder, the second by the name of the device.</extracomment>
        <translation>The destination folder “%@” is no longer on %@, so the interrupted upload cannot be taken up now. Put the folder back where it was and try again.</translation>
    </message>
    <message id="RESUME_RUNNING_txt">
        <source>Another upload is open in process %@, so the interrupted upload cannot be taken up now. Close that upload or wait until it ends, then try again.</source>
        <extracomment>%@ is replaced by the number of the process that runs the other upload.</extracomment>
        <translation>Another upload is open in process %@, so the interrupted upload cannot be taken up now. Close that upload or wait until it ends, then try again.</translation>
    </message>
    <message id="UPLOAD_RUNNING_ELSEWHERE_txt">
        <source>Another upload is open in process %@. Only one upload can run at a time, because the record that lets an upload be taken up again holds one. Close that upload or wait until it ends, then try again.</source>
        <extracomment>%@ is replaced by the number of the process that runs the other upload.</extracomment>
        <translation>Another upload is open in process %@. Only one upload can run at a time, because the record that lets an upload be taken up again holds one. Close that upload or wait until it ends, then try again.</translation>
    </message>
    <message id="SOURCE_FILES_GONE_txt">
        <source>Files in this folder are no longer there: %@ of the %@ counted when it was chosen.</source>
        <translation>Files in this folder are no longer there: %@ of the %@ counted when it was chosen.</translation>
    </message>
    <message id="SOURCE_GONE_txt">
        <source>The file is no longer there.</source>
        <translation>The file is no longer there.</translation>
    </message>
    <message id="DESTINATION_FOLDER_GONE_txt">
        <source>The destination folder “%@” is no longer there.</source>
        <extracomment>A failed item's reason: the folder it was being copied into was removed during the upload. %@ is replaced by that folder's name.</extracomment>
        <translation>The destination folder “%@” is no longer there.</translation>
    </message>
    <message id="LINK_DANGLING_txt">
        <source>The link points to nothing.</source>
        <translation>The link points to nothing.</translation>
    </message>
    <message id="LARGER_THAN_DEVICE_txt">
        <source>The file is larger than the whole device, so it cannot be uploaded to it.</source>
        <translation>The file is larger than the whole device, so it cannot be uploaded to it.</translation>
    </message>
    <message id="LINK_CIRCLE_txt">
        <source>The link leads through other links back to itself, so it never reaches a file or folder.</source>
        <translation>The link leads through other links back to itself, so it never reaches a file or folder.</translation>
    </message>
    <message id="LINK_LOOP_txt">
        <source>The link leads back into a folder that holds it, so following it would never end.</source>
        <translation>The link leads back into a folder that holds it, so following it would never end.</translation>
    </message>
    <message id="LINK_INTO_DESTINATION_txt">
        <source>The link leads to a folder that holds the destination, so following it would copy the upload into itself.</source>
        <translation>The link leads to a folder that holds the destination, so following it would copy the upload into itself.</translation>
    </message>
    <message id="NAME_NOT_UTF8_txt">
        <source>The name is not valid UTF-8, so the device cannot store it; rename the file.</source>
        <translation>The name is not valid UTF-8, so the device cannot store it; rename the file.</translation>
    </message>
    <message id="ACCOUNT_a11y">
        <source>Account on the device</source>
        <translation>Account on the device</translation>
    </message>
    <message id="SOURCE_LIST_a11y">
        <source>Files and folders to upload</source>
        <translation>Files and folders to upload</translation>
    </message>
    <message id="FOLDER_NAME_a11y">
        <source>Folder name</source>
        <translation>Folder name</translation>
    </message>
    <message id="DESTINATION_TREE_a11y">
        <source>Folders on the device</source>
        <translation>Folders on the device</translation>
    </message>
    <message id="FAILED_LIST_a11y">
        <source>Files that failed to upload</source>
        <translation>Files that failed to upload</translation>
    </message>
    <message id="UPLOAD_PROGRESS_a11y">
        <source>Upload progress</source>
        <translation>Upload progress</translation>
    </message>
    <message id="PAUSE_UPLOAD_a11y">
        <source>Pause upload</source>
        <translation>Pause upload</translation>
    </message>
    <message id="RESUME_UPLOAD_a11y">
        <source>Resume upload</source>
        <translation>Resume upload</translation>
    </message>
    <message id="OPEN_UPLOADED_FILES_a11y">
        <source>Show the uploaded files</source>
        <translation>Show the uploaded files</translation>
    </message>
    <message id="MOUNT_FOLDER_UNAVAILABLE_txt">
        <source>The folder %@, in which the device's shares are opened, could not be created. Make sure that your home folder can be written to, then try again.</source>
        <extracomment>%@ is replaced by the folder's full path.</extracomment>
        <translation>The folder %@, in which the device's shares are opened, could not be created. Make sure that your home folder can be written to, then try again.</translation>
    </message>
    <message id="REPLY_TOO_SLOW_txt">
        <source>The device did not answer in time. Check that it is switched on and not busy, then try again.</source>
        <translation>The device did not answer in time. Check that it is switched on and not busy, then try again.</translation>
    </message>
    <message id="REPLY_TOO_LARGE_txt">
        <source>The device's answer was too large to be read. It may not be the device you expect.</source>
        <translation>The device's answer was too large to be read. It may not be the device you expect.</translation>
    </message>
    <message id="REPLY_NOT_UNDERSTOOD_txt">
        <source>The device's answer could not be understood. It may not be the device you expect.</source>
        <translation>The device's answer could not be understood. It may not be the device you expect.</translation>
    </message>
    <message id="NOT_REGULAR_FILE_txt">
        <source>Not a regular file.</source>
        <translation>Not a regular file.</translation>
    </message>
    <message id="NO_DESTINATION_txt">
        <source>Choose the folder to upload to first.</source>
        <translation>Choose the folder to upload to first.</translation>
    </message>
    <message id="DAY_txt">
        <source>%@ day</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ day</translation>
    </message>
    <message id="DAYS_txt">
        <source>%@ days</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ days</translation>
    </message>
    <message id="HOUR_txt">
        <source>%@ hour</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ hour</translation>
    </message>
    <message id="HOURS_txt">
        <source>%@ hours</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ hours</translation>
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
        <translation>%@ second</translation>
    </message>
    <message id="SECONDS_txt">
        <source>%@ seconds</source>
        <extracomment>%@ is replaced by a number.</extracomment>
        <translation>%@ seconds</translation>
    </message>
    <message id="FILE_txt">
        <source>%@ file</source>
        <extracomment>Keep the form: the number, one space, a single word without spaces. Only the word is shown after counts.</extracomment>
        <translation>%@ file</translation>
    </message>
    <message id="FILES_txt">
        <source>%@ files</source>
        <extracomment>Keep the form: the number, one space, a single word without spaces. Only the word is shown after counts.</extracomment>
        <translation>%@ files</translation>
    </message>
    <message id="FOLDER_txt">
        <source>%@ folder</source>
        <extracomment>Keep the form: the number, one space, a single word without spaces. Only the word is shown after counts.</extracomment>
        <translation>%@ folder</translation>
    </message>
    <message id="FOLDERS_txt">
        <source>%@ folders</source>
        <extracomment>Keep the form: the number, one space, a single word without spaces. Only the word is shown after counts.</extracomment>
        <translation>%@ folders</translation>
    </message>
    <message id="SYSTEM_FILE_WARNING1_txt_MAC">
        <source>Some of the selected items are in system or library folders. They will be copied to the device, but the originals will be kept on this computer.</source>
        <extracomment>First paragraph of the move confirmation when system items are selected.</extracomment>
        <translation>Some of the selected items are in system or library folders. They will be copied to the device, but the originals will be kept on this computer.</translation>
    </message>
    <message id="SYSTEM_FILE_WARNING2_txt_MAC">
        <source>All other items will be moved: each file is removed from this computer once it has arrived whole on the device, and the emptied folders go to the Trash. Do you want to continue?</source>
        <extracomment>Second paragraph of the move confirmation when system items are selected.</extracomment>
        <translation>All other items will be moved: each file is removed from this computer once it has arrived whole on the device, and the emptied folders go to the Trash. Do you want to continue?</translation>
    </message>
    <message id="SYSTEM_FILE_WARNING1_txt_WIN">
        <source>Some of the selected items are in protected system or program folders. They will be copied to the device, but the originals will not be removed.</source>
        <translation>Some of the selected items are in protected system or program folders. They will be copied to the device, but the originals will not be removed.</translation>
    </message>
    <message id="SYSTEM_FILE_WARNING2_txt_WIN">
        <source>All other items will be removed from this computer after they have been uploaded. Do you want to continue?</source>
        <translation>All other items will be removed from this computer after they have been uploaded. Do you want to continue?</translation>
    </message>
    <message id="ALL_FILES_SUCCESSFULLY_UPLOADED_TO_txt">
        <source>Files uploaded to:</source>
        <extracomment>Followed by a link with the device name that opens the uploaded files.</extracomment>
        <translation>Files uploaded to:</translation>
    </message>
    <message id="TIME_REMAINING_ABOUT_TEXT">
        <source>about %@</source>
        <extracomment>%@ is replaced by a duration such as “3 minutes”. Follows “Estimated time remaining: ”.</extracomment>
        <translation>about %@</translation>
    </message>
    <message id="OUT_OF_SPACE_MSG_2_txt">
        <source>Free up space on the device to continue.</source>
        <translation>Free up space on the device to continue.</translation>
    </message>
    <message id="MOVE_FILE_WARNING_txt">
        <source>The selected items will be moved: each file is removed from this computer once it has arrived whole on the device, and the emptied folders go to the Trash. Do you want to continue?</source>
        <translation>The selected items will be moved: each file is removed from this computer once it has arrived whole on the device, and the emptied folders go to the Trash. Do you want to continue?</translation>
    </message>
    <message id="DRAG_FOLDERS_FILES_HERE_OR_txt">
        <source>Drag folders and files here, or</source>
        <extracomment>Followed by the link “choose folders and files”.</extracomment>
        <translation>Drag folders and files here, or</translation>
    </message>
</context>
</TS>
