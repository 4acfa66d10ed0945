<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_TW">
<context>
    <name>scanner_cfg</name>
    <message>
        <source>default_setting</source>
        <translation>預設設定</translation>
    </message>
</context>
<context>
    <name>Manager</name>
    <message>
        <source>Prompt</source>
        <translation>提示</translation>
    </message>
</context>
</TS>
