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
</TS>
