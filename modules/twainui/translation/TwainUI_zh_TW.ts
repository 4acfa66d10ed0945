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
<context>
    <name>zy_settingdialog</name>
    <message>
        <source>about...</source>
        <translation>關於...</translation>
    </message>
    <message>
        <source>scan</source>
        <translation>掃描</translation>
    </message>
    <message>
        <source>ok</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>configuration scheme management</source>
        <translation>配置方案管理</translation>
    </message>
    <message>
        <source>existing configuration scheme</source>
        <translation>已有配置方案</translation>
    </message>
    <message>
        <source>Add new</source>
        <translation>新增</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>儲存</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>刪除</translation>
    </message>
    <message>
        <source>Delete all</source>
        <translation>全部刪除</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>還原</translation>
    </message>
    <message>
        <source>The current parameter settings are inconsistent with the configuration scheme &apos;%1&apos;. To use the configuration scheme &apos;%1&apos; parameters, please click the restore button</source>
        <translation>目前參數設定與配置方案「%1」不一致，如需使用配置方案「%1」的參數，請點擊還原按鈕</translation>
    </message>
    <message>
        <source>regional crop</source>
        <translation>區域裁剪</translation>
    </message>
    <message>
        <source>custom tone curve</source>
        <translation>自訂色調曲線</translation>
    </message>
    <message>
        <source>Prompt</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>The funtion is unsupported</source>
        <translation>目前版本不支援該功能</translation>
    </message>
    <message>
        <source>This function may cause a decrease in the speed of drawing.</source>
        <translation>開啟該功能可能會導致出圖速度下降。</translation>
    </message>
</context>
</TS>
