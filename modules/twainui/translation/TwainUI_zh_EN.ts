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
    <name>zy_settingdialog</name>
    <message>
        <source>Add new scheme</source>
        <translation>Add new scheme</translation>
    </message>
    <message>
        <source>tips</source>
        <translation>Prompt</translation>
    </message>
    <message>
        <source>The configuration scheme already exists</source>
        <translation>The configuration scheme already exists</translation>
    </message>
    <message>
        <source>be sure to delete the configuration</source>
        <translation>Delete configuration</translation>
    </message>
    <message>
        <source>Are you sure you want to delete the configuration &quot;</source>
        <translation>Are you sure you want to delete the configuration &quot;</translation>
    </message>
    <message>
        <source>&quot; ?</source>
        <translation>&quot;?</translation>
    </message>
    <message>
        <source>Are you sure you want to delete the configuration?</source>
        <translation>Are you sure you want to delete all configurations?</translation>
    </message>
    <message>
        <source>%1dpi</source>
        <translation>%1dpi</translation>
    </message>
    <message>
        <source>scheme</source>
        <translation>Scheme</translation>
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
<context>
    <name>zy_settingdialog</name>
    <message>
        <source>about </source>
        <translation>About </translation>
    </message>
    <message>
        <source>Not supported</source>
        <translation>Not supported</translation>
    </message>
    <message>
        <source>&lt;p&gt;Device model: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;Model: %1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Driver version: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;Driver Version: %1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Firmware number: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;Firmware Version: %1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Serial number: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;Serial Number: %1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Roller count: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;Roller Count: %1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;History count: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;Scan Count: %1&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;Initial startup time: %1&lt;/p&gt;</source>
        <translation>&lt;p&gt;Initial Startup Time: %1&lt;/p&gt;</translation>
    </message>
</context>
<context>
    <name>Widget</name>
    <message>
        <source>zuobiaozhou</source>
        <translation>Coordinate axis</translation>
    </message>
</context>
<context>
    <name>setPicClrTool</name>
    <message>
        <source>自定义色调曲线</source>
        <translation>Custom tone curve</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Customize</translation>
    </message>
    <message>
        <source>负片（RGB）</source>
        <translation>Negative(RGB)</translation>
    </message>
    <message>
        <source>彩色负片（RGB）</source>
        <translation>Color negative(RGB)</translation>
    </message>
    <message>
        <source>较暗（RGB）</source>
        <translation>Darker(RGB)</translation>
    </message>
    <message>
        <source>较亮（RGB）</source>
        <translation>Brighter(RGB)</translation>
    </message>
    <message>
        <source>灰</source>
        <translation>Gray</translation>
    </message>
    <message>
        <source>红</source>
        <translation>Red</translation>
    </message>
    <message>
        <source>蓝</source>
        <translation>Blue</translation>
    </message>
    <message>
        <source>绿</source>
        <translation>Green</translation>
    </message>
    <message>
        <source>初始化</source>
        <translation>Initialize</translation>
    </message>
    <message>
        <source>输入：</source>
        <translation>Input:</translation>
    </message>
    <message>
        <source>输出：</source>
        <translation>Output:</translation>
    </message>
</context>
<context>
    <name>CutPaperTool</name>
    <message>
        <source>自定义扫描区域</source>
        <translation>Custom scan area</translation>
    </message>
    <message>
        <source>纸张尺寸：</source>
        <translation>Paper size:</translation>
    </message>
    <message>
        <source>DPI(像素/英寸)：</source>
        <translation>DPI(Primitive / inches):</translation>
    </message>
    <message>
        <source>单位：</source>
        <translation>Unit:</translation>
    </message>
    <message>
        <source>毫米（mm）</source>
        <translation>Millimeter(mm)</translation>
    </message>
    <message>
        <source>英寸（in)</source>
        <translation>Inch(in)</translation>
    </message>
    <message>
        <source>像素（px）</source>
        <translation>Primitive(px)</translation>
    </message>
    <message>
        <source>初始化选择区域</source>
        <translation>Initialize selected area</translation>
    </message>
</context>
<context>
    <name>Dialog_progress_ui</name>
    <message>
        <source>Dialog</source>
        <translation>Scan status</translation>
    </message>
    <message>
        <source>Cancel Scan</source>
        <translation>Cancel Scan</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Finish Scan</translation>
    </message>
    <message>
        <source>start scanning</source>
        <translation>Start scanning...</translation>
    </message>
    <message>
        <source>stop scanning</source>
        <translation>Stop scanning...</translation>
    </message>
    <message>
        <source>image recived:</source>
        <translation>Image recived:</translation>
    </message>
    <message>
        <source>Start scan...</source>
        <translation>Start scan...</translation>
    </message>
    <message>
        <source>Scan completed</source>
        <translation>Scan completed</translation>
    </message>
    <message>
        <source>Total scanned images: %1</source>
        <translation>Total scanned images: %1</translation>
    </message>
</context>
<context>
    <name>Dialog_Source_Select</name>
    <message>
        <source>Select source</source>
        <translation>Select source</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>tips</source>
        <translation>Prompt</translation>
    </message>
    <message>
        <source>Load library failed</source>
        <translation>Load library failed</translation>
    </message>
    <message>
        <source>Find function failed</source>
        <translation>Find function failed</translation>
    </message>
</context>
<context>
    <name>Dialog_Twain_Source_Select</name>
    <message>
        <source>Select source</source>
        <translation>Select source</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>Dialog_abnormal_img_select</name>
    <message>
        <source>Dialog</source>
        <translation>Abnormal image</translation>
    </message>
    <message>
        <source>Reserve</source>
        <translation>Reserve image</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Discard image</translation>
    </message>
</context>
<context>
    <name>Dialog_device_select</name>
    <message>
        <source>Dialog</source>
        <translation>Select device</translation>
    </message>
    <message>
        <source>Ok</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>Dialog_Input</name>
    <message>
        <source>Dialog</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>输入：</source>
        <translation>Enter:</translation>
    </message>
    <message>
        <source>Ok</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>tips</source>
        <translation>Prompt</translation>
    </message>
    <message>
        <source>The content can not be empty</source>
        <translation>The content can not be empty</translation>
    </message>
</context>
</TS>
