#pragma once

// Camera-like description covering the node kinds the layer wraps. Registers
// are 32-bit little-endian in the in-memory port.
inline const char* const kTestDescription = R"XML(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="TestCam" VendorName="Lumo" ToolTip="test camera"
  StandardNameSpace="None" SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
  MajorVersion="1" MinorVersion="0" SubMinorVersion="0" ProductGuid="0" VersionGuid="0"
  xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root">
    <pFeature>Width</pFeature><pFeature>PixelFormat</pFeature><pFeature>Gain</pFeature>
    <pFeature>AcquisitionStart</pFeature><pFeature>NoSuchNode</pFeature>
  </Category>
  <Integer Name="Width">
    <ToolTip>Image width</ToolTip><Description>Width of the image</Description>
    <DisplayName>Image Width</DisplayName>
    <pIsLocked>TLParamsLocked</pIsLocked>
    <pValue>WidthReg</pValue><Min>16</Min><Max>4096</Max><Inc>8</Inc>
  </Integer>
  <IntReg Name="WidthReg"><Address>0x00</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Cachable>WriteThrough</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <IntReg Name="Height"><Address>0x04</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <MaskedIntReg Name="BinningField"><Address>0x08</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><LSB>8</LSB><MSB>15</MSB><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></MaskedIntReg>
  <IntSwissKnife Name="WidthTimesTwo"><pVariable Name="W">Width</pVariable><Formula>W*2</Formula></IntSwissKnife>
  <IntConverter Name="HalfWidth"><pVariable Name="W">Width</pVariable><FormulaTo>FROM*2</FormulaTo>
    <FormulaFrom>TO/2</FormulaFrom><pValue>Width</pValue></IntConverter>
  <FloatReg Name="Gamma"><Address>0x0C</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Endianess>LittleEndian</Endianess></FloatReg>
  <IntReg Name="ExposureRaw"><Address>0x10</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Converter Name="ExposureMs"><FormulaTo>FROM*1000</FormulaTo><FormulaFrom>TO/1000</FormulaFrom>
    <pValue>ExposureRaw</pValue></Converter>
  <SwissKnife Name="FrameRateLimit"><pVariable Name="E">ExposureMs</pVariable><Formula>1000/E</Formula></SwissKnife>
  <Float Name="AcquisitionFrameRate"><Value>10.0</Value><Min>1.0</Min><Max>100.0</Max></Float>
  <Boolean Name="ReverseX"><pValue>ReverseXReg</pValue><OnValue>1</OnValue><OffValue>0</OffValue></Boolean>
  <IntReg Name="ReverseXReg"><Address>0x14</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Command Name="AcquisitionStart"><pValue>StartReg</pValue><CommandValue>1</CommandValue></Command>
  <IntReg Name="StartReg"><Address>0x18</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Enumeration Name="PixelFormat">
    <EnumEntry Name="Mono8"><Value>17301505</Value></EnumEntry>
    <EnumEntry Name="Mono16"><Value>17825799</Value></EnumEntry>
    <EnumEntry Name="RGB8"><pIsAvailable>ColorSensor</pIsAvailable><Value>35127316</Value></EnumEntry>
    <pValue>PixelFormatReg</pValue>
  </Enumeration>
  <IntReg Name="PixelFormatReg"><Address>0x1C</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Integer Name="ColorSensor"><Value>0</Value></Integer>
  <IntReg Name="TLParamsLocked"><Address>0x20</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <IntReg Name="SensorWidth"><Address>0x24</Address><Length>4</Length><AccessMode>RO</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Integer Name="OptionalFeature"><pIsAvailable>OptionEnabled</pIsAvailable><Value>5</Value></Integer>
  <IntReg Name="OptionEnabled"><Address>0x28</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Enumeration Name="GainSelector">
    <EnumEntry Name="All"><Value>0</Value></EnumEntry>
    <EnumEntry Name="Red"><Value>1</Value></EnumEntry>
    <pValue>GainSelectorReg</pValue>
    <pSelected>Gain</pSelected>
  </Enumeration>
  <IntReg Name="GainSelectorReg"><Address>0x2C</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <IntReg Name="Gain"><Address>0x80</Address><pIndex Offset="4">GainSelectorReg</pIndex><Length>4</Length>
    <AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <StringReg Name="DeviceModelName"><Address>0x40</Address><Length>16</Length><AccessMode>RO</AccessMode>
    <pPort>Device</pPort></StringReg>
  <StringReg Name="DeviceUserID"><Address>0x50</Address><Length>16</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></StringReg>
  <Register Name="LUTData"><Address>0x60</Address><Length>8</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></Register>
  <IntReg Name="Unreachable"><Address>0x1000</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <IntReg Name="TLStatus"><Address>0x00</Address><Length>4</Length><AccessMode>RO</AccessMode>
    <pPort>TLPort</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Port Name="Device"/>
  <Port Name="TLPort"/>
</RegisterDescription>
)XML";
