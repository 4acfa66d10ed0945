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
</TS>
