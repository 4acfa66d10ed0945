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
<context>
    <name>zy_settingdialog</name>
    <message>
        <source>about...</source>
        <translation>关于...</translation>
    </message>
    <message>
        <source>scan</source>
        <translation>扫描</translation>
    </message>
    <message>
        <source>ok</source>
        <translation>确定</translation>
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
        <translation>保存</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>删除</translation>
    </message>
    <message>
        <source>Delete all</source>
        <translation>全部删除</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>还原</translation>
    </message>
    <message>
        <source>The current parameter settings are inconsistent with the configuration scheme &apos;%1&apos;. To use the configuration scheme &apos;%1&apos; parameters, please click the restore button</source>
        <translation>当前参数设置与配置方案“%1”不一致，如需使用配置方案“%1”的参数，请点击还原按钮</translation>
    </message>
    <message>
        <source>regional crop</source>
        <translation>区域裁剪</translation>
    </message>
    <message>
        <source>custom tone curve</source>
        <translation>自定义色调曲线</translation>
    </message>
    <message>
        <source>Prompt</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>The funtion is unsupported</source>
        <translation>当前版本不支持该功能</translation>
    </message>
    <message>
        <source>This function may cause a decrease in the speed of drawing.</source>
        <translation>开启该功能可能会导致出图速度下降。</translation>
    </message>
</context>
</TS>
