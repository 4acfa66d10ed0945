<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>scanner_cfg</name>
    <message>
        <source>default_setting</source>
        <translation>默认设置</translation>
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
