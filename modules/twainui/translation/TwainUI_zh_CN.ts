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
    <name>zy_settingdialog</name>
    <message>
        <source>Add new scheme</source>
        <translation>新增配置方案</translation>
    </message>
    <message>
        <source>tips</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>The configuration scheme already exists</source>
        <translation>配置方案已存在</translation>
    </message>
    <message>
        <source>be sure to delete the configuration</source>
        <translation>确认删除配置</translation>
    </message>
    <message>
        <source>Are you sure you want to delete the configuration &quot;</source>
        <translation>确定要删除配置方案“</translation>
    </message>
    <message>
        <source>&quot; ?</source>
        <translation>”吗？</translation>
    </message>
    <message>
        <source>Are you sure you want to delete the configuration?</source>
        <translation>确定要删除全部配置方案吗？</translation>
    </message>
    <message>
        <source>%1dpi</source>
        <translation>%1dpi</translation>
    </message>
    <message>
        <source>scheme</source>
        <translation>方案</translation>
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
<context>
    <name>zy_settingdialog</name>
    <message>
        <source>about </source>
        <translation>关于 </translation>
    </message>
    <message>
        <source>Not supported</source>
        <translation>不支持</translation>
    </message>
    <message>
        <source>&lt;p&gt;Device model: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;设备型号：%1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Driver version: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;驱动版本：%1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Firmware number: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;固件版本：%1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Serial number: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;序列号：%1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Roller count: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;滚轴计数：%1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;History count: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;历史扫描张数：%1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Initial startup time: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;首次开机时间：%1&lt;/p&gt;</translation>
    </message>
</context>
<context>
    <name>Widget</name>
    <message>
        <source>zuobiaozhou</source>
        <translation>坐标轴</translation>
    </message>
</context>
<context>
    <name>setPicClrTool</name>
    <message>
        <source>自定义色调曲线</source>
        <translation>自定义色调曲线</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>自定义</translation>
    </message>
    <message>
        <source>负片（RGB）</source>
        <translation>负片（RGB）</translation>
    </message>
    <message>
        <source>彩色负片（RGB）</source>
        <translation>彩色负片（RGB）</translation>
    </message>
    <message>
        <source>较暗（RGB）</source>
        <translation>较暗（RGB）</translation>
    </message>
    <message>
        <source>较亮（RGB）</source>
        <translation>较亮（RGB）</translation>
    </message>
    <message>
        <source>灰</source>
        <translation>灰</translation>
    </message>
    <message>
        <source>红</source>
        <translation>红</translation>
    </message>
    <message>
        <source>蓝</source>
        <translation>蓝</translation>
    </message>
    <message>
        <source>绿</source>
        <translation>绿</translation>
    </message>
    <message>
        <source>初始化</source>
        <translation>初始化</translation>
    </message>
    <message>
        <source>输入：</source>
        <translation>输入：</translation>
    </message>
    <message>
        <source>输出：</source>
        <translation>输出：</translation>
    </message>
</context>
<context>
    <name>CutPaperTool</name>
    <message>
        <source>自定义扫描区域</source>
        <translation>自定义扫描区域</translation>
    </message>
    <message>
        <source>纸张尺寸：</source>
        <translation>纸张尺寸：</translation>
    </message>
    <message>
        <source>DPI(像素/英寸)：</source>
        <translation>DPI(像素/英寸)：</translation>
    </message>
    <message>
        <source>单位：</source>
        <translation>单位：</translation>
    </message>
    <message>
        <source>毫米（mm）</source>
        <translation>毫米（mm）</translation>
    </message>
    <message>
        <source>英寸（in)</source>
        <translation>英寸（in)</translation>
    </message>
    <message>
        <source>像素（px）</source>
        <translation>像素（px）</translation>
    </message>
    <message>
        <source>初始化选择区域</source>
        <translation>初始化选择区域</translation>
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
