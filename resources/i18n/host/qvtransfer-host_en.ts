<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_GB" sourcelanguage="en_GB">
<context>
    <name>qvtransfer-host</name>
    <message id="HOST_RESUME_TITLE">
        <source>Resume Upload</source>
        <translation>Resume Upload</translation>
    </message>
    <message id="HOST_RESUME_QUESTION">
        <source>An upload to %1 was interrupted. Do you want to take it up where it stopped?</source>
        <extracomment>%1 is the device's name.</extracomment>
        <translation>An upload to %1 was interrupted. Do you want to take it up where it stopped?</translation>
    </message>
    <message id="HOST_RESUME_btn">
        <source>Resume Upload</source>
        <translation>Resume Upload</translation>
    </message>
    <message id="HOST_NEW_UPLOAD_btn">
        <source>Start a New Upload</source>
        <translation>Start a New Upload</translation>
    </message>
    <message id="HOST_VOLUMES_NOT_THERE">
        <source>The disk's volume is not there: %1. Attach the disk, or mount the volume at that folder, and try again.</source>
        <extracomment>%1 lists the folders where the disk's volumes should be mounted.</extracomment>
        <translation>The disk's volume is not there: %1. Attach the disk, or mount the volume at that folder, and try again.</translation>
    </message>
    <message id="HOST_CLOSE_btn">
        <source>Close</source>
        <translation>Close</translation>
    </message>
    <message id="HOST_LOCAL_DRIVE">
        <source>Local Drive</source>
        <extracomment>The name of an attached disk given without --name.</extracomment>
        <translation>Local Drive</translation>
    </message>
</context>
</TS>
