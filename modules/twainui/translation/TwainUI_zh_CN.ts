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
    <name>Dialog_progress_ui</name>
    <message>
        <source>Dialog</source>
        <translation>扫描状态</translation>
    </message>
    <message>
        <source>Cancel Scan</source>
        <translation>取消扫描</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>start scanning</source>
        <translation>开始扫描...</translation>
    </message>
    <message>
        <source>stop scanning</source>
        <translation>正在停止扫描...</translation>
    </message>
    <message>
        <source>image recived:</source>
        <translation>已接收图像：</translation>
    </message>
    <message>
        <source>Start scan...</source>
        <translation>开始扫描...</translation>
    </message>
    <message>
        <source>Scan completed</source>
        <translation>扫描完成</translation>
    </message>
    <message>
        <source>Total scanned images: %1</source>
        <translation>共扫描图像：%1</translation>
    </message>
</context>
<context>
    <name>Dialog_Source_Select</name>
    <message>
        <source>Select source</source>
        <translation>选择源</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>tips</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Load library failed</source>
        <translation>加载驱动库失败</translation>
    </message>
    <message>
        <source>Find function failed</source>
        <translation>查找驱动函数失败</translation>
    </message>
</context>
<context>
    <name>Dialog_Twain_Source_Select</name>
    <message>
        <source>Select source</source>
        <translation>选择源</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
</context>
<context>
    <name>Dialog_abnormal_img_select</name>
    <message>
        <source>Dialog</source>
        <translation>异常图像</translation>
    </message>
    <message>
        <source>Reserve</source>
        <translation>保留图像</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>丢弃图像</translation>
    </message>
</context>
<context>
    <name>Dialog_device_select</name>
    <message>
        <source>Dialog</source>
        <translation>选择设备</translation>
    </message>
    <message>
        <source>Ok</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
</context>
<context>
    <name>Dialog_Input</name>
    <message>
        <source>Dialog</source>
        <translation>输入名称</translation>
    </message>
    <message>
        <source>输入：</source>
        <translation>输入：</translation>
    </message>
    <message>
        <source>Ok</source>
        <translation>确定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>tips</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>The content can not be empty</source>
        <translation>内容不能为空</translation>
    </message>
</context>
</TS>
