#include "tarpo/imageformatconverterport.h"

#include "genapi/genicamexception.h"

#include <cinttypes>
#include <cmath>
#include <cstring>

namespace Tarpo {

namespace {

// Register addresses; every register is little-endian. Gamma is an 8-byte IEEE double.
enum : int64_t
{
    OutputPixelFormatAddr = 0x00,
    OutputPaddingXAddr = 0x04,
    OutputBitAlignmentAddr = 0x08,
    InconvertibleEdgeHandlingAddr = 0x0C,
    MonoConversionMethodAddr = 0x10,
    DemosaicingMethodAddr = 0x14,
    GammaAddr = 0x18,
    RegisterSpaceBytes = 0x20
};

// The limits below are repeated in the description; the port checks them again because a
// client may write a register node directly.
const uint32_t kMaxOutputPaddingX = 1u << 20;
const double kMinGamma = 0.1;
const double kMaxGamma = 10.0;

const char* const kXml = R"XML(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="ImageFormatConverter" VendorName="Tarpo"
    ToolTip="Parameters of the image format converter"
    StandardNameSpace="None" SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
    MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="3E7C1A52-8D4B-4F0E-B2A9-6C1D5E7F0A31" VersionGuid="3E7C1A52-8D4B-4F0E-B2A9-6C1D5E7F0A32"
    xmlns="http://www.genicam.org/GenApi/Version_1_1">

  <Category Name="Root" NameSpace="Standard">
    <ToolTip>Parameters of the image format converter.</ToolTip>
    <DisplayName>Image Format Converter</DisplayName>
    <pFeature>OutputPixelFormat</pFeature>
    <pFeature>OutputPaddingX</pFeature>
    <pFeature>OutputBitAlignment</pFeature>
    <pFeature>MonoConversionMethod</pFeature>
    <pFeature>Gamma</pFeature>
    <pFeature>DemosaicingMethod</pFeature>
    <pFeature>InconvertibleEdgeHandling</pFeature>
  </Category>

  <Enumeration Name="OutputPixelFormat">
    <ToolTip>Pixel format of the converted image.</ToolTip>
    <Description>Pixel format the converter writes. Grey sources become colour by repeating the grey value; colour sources become grey by their luminance (ITU-R BT.601 weights).</Description>
    <DisplayName>Output Pixel Format</DisplayName>
    <Visibility>Beginner</Visibility>
    <EnumEntry Name="Mono8">
      <ToolTip>8-bit grey.</ToolTip>
      <Description>One byte of grey per pixel.</Description>
      <DisplayName>Mono 8</DisplayName>
      <Value>0x01080001</Value>
    </EnumEntry>
    <EnumEntry Name="Mono16">
      <ToolTip>16-bit grey.</ToolTip>
      <Description>One little-endian 16-bit word of grey per pixel; Output Bit Alignment says where samples of fewer bits go.</Description>
      <DisplayName>Mono 16</DisplayName>
      <Value>0x01100007</Value>
    </EnumEntry>
    <EnumEntry Name="BGR8packed">
      <ToolTip>8-bit blue, green, red.</ToolTip>
      <Description>Three bytes per pixel in the order blue, green, red.</Description>
      <DisplayName>BGR 8 Packed</DisplayName>
      <Value>0x02180015</Value>
    </EnumEntry>
    <EnumEntry Name="BGRA8packed">
      <ToolTip>8-bit blue, green, red, alpha.</ToolTip>
      <Description>Four bytes per pixel in the order blue, green, red, alpha. Alpha is 255 unless the source carries its own.</Description>
      <DisplayName>BGRA 8 Packed</DisplayName>
      <Value>0x02200017</Value>
    </EnumEntry>
    <EnumEntry Name="RGB8packed">
      <ToolTip>8-bit red, green, blue.</ToolTip>
      <Description>Three bytes per pixel in the order red, green, blue.</Description>
      <DisplayName>RGB 8 Packed</DisplayName>
      <Value>0x02180014</Value>
    </EnumEntry>
    <pValue>OutputPixelFormatReg</pValue>
  </Enumeration>

  <Integer Name="OutputPaddingX">
    <ToolTip>Bytes added at the end of each output line.</ToolTip>
    <Description>Number of bytes after the pixels of each line of the converted image, so that lines can start at the line offset the receiver needs. The converter never writes these bytes.</Description>
    <DisplayName>Output Padding X</DisplayName>
    <Visibility>Expert</Visibility>
    <pValue>OutputPaddingXReg</pValue>
    <Min>0</Min>
    <Max>1048576</Max>
    <Inc>1</Inc>
    <Unit>B</Unit>
  </Integer>

  <Enumeration Name="OutputBitAlignment">
    <ToolTip>Position of 10-, 12- and 14-bit samples in 16-bit output.</ToolTip>
    <Description>Where the significant bits of a source sample go when the output is Mono 16: kept as they are (a 12-bit white stays 4095), or shifted to the top of the word (a 12-bit white becomes 65520).</Description>
    <DisplayName>Output Bit Alignment</DisplayName>
    <Visibility>Expert</Visibility>
    <EnumEntry Name="LsbAligned">
      <ToolTip>Keep the value in the low bits.</ToolTip>
      <Description>The output word holds the source value unchanged.</Description>
      <DisplayName>LSB Aligned</DisplayName>
      <Value>1</Value>
    </EnumEntry>
    <EnumEntry Name="MsbAligned">
      <ToolTip>Shift the value to the high bits.</ToolTip>
      <Description>The source value is shifted left so that its most significant bit becomes bit 15.</Description>
      <DisplayName>MSB Aligned</DisplayName>
      <Value>2</Value>
    </EnumEntry>
    <pValue>OutputBitAlignmentReg</pValue>
  </Enumeration>

  <Enumeration Name="MonoConversionMethod">
    <ToolTip>How samples of more than 8 bits become 8-bit samples.</ToolTip>
    <Description>Applies to mono, Bayer and 16-bit RGB sources when the output has 8 bits per sample. Truncation keeps the top 8 bits; Gamma maps each sample through a power curve.</Description>
    <DisplayName>Mono Conversion Method</DisplayName>
    <Visibility>Beginner</Visibility>
    <EnumEntry Name="Truncation">
      <ToolTip>Keep the top 8 bits.</ToolTip>
      <Description>The sample is shifted right by its bit depth minus 8.</Description>
      <DisplayName>Truncation</DisplayName>
      <Value>1</Value>
    </EnumEntry>
    <EnumEntry Name="Gamma">
      <ToolTip>Map the samples through a gamma curve.</ToolTip>
      <Description>Output = 255 * (sample / full scale) ^ (1 / Gamma), rounded. A Gamma above 1 brightens the dark parts of the image.</Description>
      <DisplayName>Gamma</DisplayName>
      <Value>2</Value>
    </EnumEntry>
    <pValue>MonoConversionMethodReg</pValue>
  </Enumeration>

  <Float Name="Gamma">
    <ToolTip>Gamma of the Gamma mono conversion method.</ToolTip>
    <Description>The exponent's reciprocal used when Mono Conversion Method is Gamma: 1 maps the samples linearly, values above 1 brighten the dark parts.</Description>
    <DisplayName>Gamma</DisplayName>
    <Visibility>Beginner</Visibility>
    <pValue>GammaReg</pValue>
    <Min>0.1</Min>
    <Max>10</Max>
    <Representation>Linear</Representation>
  </Float>

  <Enumeration Name="DemosaicingMethod">
    <ToolTip>How colours are interpolated from Bayer images.</ToolTip>
    <Description>Simple interpolates each missing colour bilinearly from its nearest neighbours. Edge Aware interpolates green along edges instead of across them, which reduces colour fringes at sharp edges at some cost in speed.</Description>
    <DisplayName>Demosaicing Method</DisplayName>
    <Visibility>Beginner</Visibility>
    <EnumEntry Name="Simple">
      <ToolTip>Bilinear interpolation.</ToolTip>
      <Description>Fast bilinear interpolation of the missing colours.</Description>
      <DisplayName>Simple</DisplayName>
      <Value>1</Value>
    </EnumEntry>
    <EnumEntry Name="EdgeAware">
      <ToolTip>Interpolation along edges.</ToolTip>
      <Description>Green is interpolated along the direction of the smaller gradient.</Description>
      <DisplayName>Edge Aware</DisplayName>
      <Value>2</Value>
    </EnumEntry>
    <pValue>DemosaicingMethodReg</pValue>
  </Enumeration>

  <Enumeration Name="InconvertibleEdgeHandling">
    <ToolTip>What happens to the border pixels of Bayer images.</ToolTip>
    <Description>The outermost rows and columns of a Bayer image lack neighbours on one side for the interpolation. Set Zero makes them black, Clip interpolates them from the neighbours that exist, Extend repeats the nearest fully interpolated row or column.</Description>
    <DisplayName>Inconvertible Edge Handling</DisplayName>
    <Visibility>Expert</Visibility>
    <EnumEntry Name="SetZero">
      <ToolTip>Black border.</ToolTip>
      <Description>The border pixels are set to zero.</Description>
      <DisplayName>Set Zero</DisplayName>
      <Value>1</Value>
    </EnumEntry>
    <EnumEntry Name="Clip">
      <ToolTip>Interpolate from the neighbours that exist.</ToolTip>
      <Description>The interpolation at the border uses only the neighbours inside the image.</Description>
      <DisplayName>Clip</DisplayName>
      <Value>2</Value>
    </EnumEntry>
    <EnumEntry Name="Extend">
      <ToolTip>Repeat the nearest interpolated pixels.</ToolTip>
      <Description>The border pixels take the colour of their nearest fully interpolated neighbour.</Description>
      <DisplayName>Extend</DisplayName>
      <Value>3</Value>
    </EnumEntry>
    <pValue>InconvertibleEdgeHandlingReg</pValue>
  </Enumeration>

  <IntReg Name="OutputPixelFormatReg">
    <Visibility>Invisible</Visibility>
    <Address>0x00</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="OutputPaddingXReg">
    <Visibility>Invisible</Visibility>
    <Address>0x04</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="OutputBitAlignmentReg">
    <Visibility>Invisible</Visibility>
    <Address>0x08</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="InconvertibleEdgeHandlingReg">
    <Visibility>Invisible</Visibility>
    <Address>0x0C</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="MonoConversionMethodReg">
    <Visibility>Invisible</Visibility>
    <Address>0x10</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="DemosaicingMethodReg">
    <Visibility>Invisible</Visibility>
    <Address>0x14</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <FloatReg Name="GammaReg">
    <Visibility>Invisible</Visibility>
    <Address>0x18</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Endianess>LittleEndian</Endianess>
  </FloatReg>

  <Port Name="Device" NameSpace="Standard"/>
</RegisterDescription>
)XML";

bool isOutputPixelFormat(uint32_t value)
{
    switch (value) {
    case PixelType_Mono8:
    case PixelType_Mono16:
    case PixelType_BGR8packed:
    case PixelType_BGRA8packed:
    case PixelType_RGB8packed:
        return true;
    default:
        return false;
    }
}

void putU32(uint8_t* memory, int64_t address, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        memory[address + i] = static_cast<uint8_t>(value >> (8 * i));
}

uint32_t getU32(const uint8_t* bytes)
{
    return uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 |
           uint32_t(bytes[3]) << 24;
}

} // namespace

const char* CImageFormatConverterPort::xml()
{
    return kXml;
}

void CImageFormatConverterPort::Read(void* buffer, int64_t address, int64_t length)
{
    if (address < 0 || length < 0 || address + length > RegisterSpaceBytes)
        throw OUT_OF_RANGE_EXCEPTION("Image format converter: no register at 0x%" PRIx64
                                     " (%" PRId64 " bytes)",
                                     address, length);
    uint8_t memory[RegisterSpaceBytes] = {};
    putU32(memory, OutputPixelFormatAddr, m_settings.outputPixelFormat);
    putU32(memory, OutputPaddingXAddr, m_settings.outputPaddingX);
    putU32(memory, OutputBitAlignmentAddr, m_settings.outputBitAlignment);
    putU32(memory, InconvertibleEdgeHandlingAddr, m_settings.inconvertibleEdgeHandling);
    putU32(memory, MonoConversionMethodAddr, m_settings.monoConversionMethod);
    putU32(memory, DemosaicingMethodAddr, m_settings.demosaicingMethod);
    static_assert(sizeof(double) == 8, "the Gamma register is an 8-byte IEEE double");
    std::memcpy(memory + GammaAddr, &m_settings.gamma, sizeof(double)); // x86-64: little-endian
    std::memcpy(buffer, memory + address, static_cast<size_t>(length));
}

void CImageFormatConverterPort::Write(const void* buffer, int64_t address, int64_t length)
{
    const auto* bytes = static_cast<const uint8_t*>(buffer);
    if (address == GammaAddr && length == 8) {
        double gamma = 0;
        std::memcpy(&gamma, bytes, sizeof gamma);
        if (!std::isfinite(gamma) || gamma < kMinGamma || gamma > kMaxGamma)
            throw OUT_OF_RANGE_EXCEPTION("Gamma: %g is outside %g .. %g", gamma, kMinGamma,
                                         kMaxGamma);
        m_settings.gamma = gamma;
        return;
    }
    if (length != 4 || address < 0 || address >= GammaAddr || address % 4 != 0)
        throw OUT_OF_RANGE_EXCEPTION("Image format converter: no register at 0x%" PRIx64
                                     " (%" PRId64 " bytes)",
                                     address, length);
    const uint32_t value = getU32(bytes);
    switch (address) {
    case OutputPixelFormatAddr:
        if (!isOutputPixelFormat(value))
            throw OUT_OF_RANGE_EXCEPTION("OutputPixelFormat: 0x%08X is not an output format",
                                         value);
        m_settings.outputPixelFormat = static_cast<EPixelType>(value);
        break;
    case OutputPaddingXAddr:
        if (value > kMaxOutputPaddingX)
            throw OUT_OF_RANGE_EXCEPTION("OutputPaddingX: %u is above the maximum %u", value,
                                         kMaxOutputPaddingX);
        m_settings.outputPaddingX = value;
        break;
    case OutputBitAlignmentAddr:
        if (value != OutputBitAlignment_LsbAligned && value != OutputBitAlignment_MsbAligned)
            throw OUT_OF_RANGE_EXCEPTION("OutputBitAlignment: %u is no entry", value);
        m_settings.outputBitAlignment = static_cast<EOutputBitAlignment>(value);
        break;
    case InconvertibleEdgeHandlingAddr:
        if (value < InconvertibleEdgeHandling_SetZero || value > InconvertibleEdgeHandling_Extend)
            throw OUT_OF_RANGE_EXCEPTION("InconvertibleEdgeHandling: %u is no entry", value);
        m_settings.inconvertibleEdgeHandling = static_cast<EInconvertibleEdgeHandling>(value);
        break;
    case MonoConversionMethodAddr:
        if (value != MonoConversionMethod_Truncation && value != MonoConversionMethod_Gamma)
            throw OUT_OF_RANGE_EXCEPTION("MonoConversionMethod: %u is no entry", value);
        m_settings.monoConversionMethod = static_cast<EMonoConversionMethod>(value);
        break;
    case DemosaicingMethodAddr:
        if (value != DemosaicingMethod_Simple && value != DemosaicingMethod_EdgeAware)
            throw OUT_OF_RANGE_EXCEPTION("DemosaicingMethod: %u is no entry", value);
        m_settings.demosaicingMethod = static_cast<EDemosaicingMethod>(value);
        break;
    }
}

} // namespace Tarpo
