<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name>scanner_cfg</name>
    <message>
        <source>default_setting</source>
        <translation>Default setting</translation>
    </message>
</context>
<context>
    <name>Manager</name>
    <message>
        <source>Prompt</source>
        <translation>Prompt</translation>
    </message>
</context>
<context>
    <name>zy_settingdialog</name>
    <message>
        <source>about...</source>
        <translation>About...</translation>
    </message>
    <message>
        <source>scan</source>
        <translation>Scan</translation>
    </message>
    <message>
        <source>ok</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>configuration scheme management</source>
        <translation>Scheme management</translation>
    </message>
    <message>
        <source>existing configuration scheme</source>
        <translation>Existing schemes</translation>
    </message>
    <message>
        <source>Add new</source>
        <translation>Add new</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Save</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>Delete all</source>
        <translation>Delete all</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>Restore</translation>
    </message>
    <message>
        <source>The current parameter settings are inconsistent with the configuration scheme &apos;%1&apos;. To use the configuration scheme &apos;%1&apos; parameters, please click the restore button</source>
        <translation>The current parameter settings are inconsistent with the configuration scheme &quot;%1&quot;. To use the configuration scheme &quot;%1&quot; parameters, please click the restore button</translation>
    </message>
    <message>
        <source>regional crop</source>
        <translation>Regional crop</translation>
    </message>
    <message>
        <source>custom tone curve</source>
        <translation>Custom tone curve</translation>
    </message>
    <message>
        <source>Prompt</source>
        <translation>Prompt</translation>
    </message>
    <message>
        <source>The funtion is unsupported</source>
        <translation>This version does not support this feature.</translation>
    </message>
    <message>
        <source>This function may cause a decrease in the speed of drawing.</source>
        <translation>This function may cause a decrease in the speed of drawing.</translation>
    </message>
</context>
</TS>
