#include "emulator/emuscene.h"

#include <algorithm>
#include <cmath>

namespace Emulator {

namespace {

struct Colour
{
    double red;
    double green;
    double blue;
};

struct Disc
{
    double centreU;
    double centreV;
    double radius; // in units of the sensor height
    Colour reflectance;
};

const Disc kDiscs[] = {
    {0.18, 0.28, 0.13, {0.75, 0.08, 0.07}}, // red
    {0.44, 0.20, 0.10, {0.10, 0.55, 0.15}}, // green
    {0.80, 0.30, 0.14, {0.08, 0.15, 0.70}}, // blue
    {0.20, 0.76, 0.12, {0.85, 0.70, 0.08}}, // yellow
    {0.82, 0.76, 0.12, {0.60, 0.15, 0.55}}, // magenta
};

const Colour kWall = {0.30, 0.42, 0.52};
const Colour kFloor = {0.52, 0.38, 0.25};
const Colour kGreyCard = {0.18, 0.18, 0.18};
const Colour kWhitePatch = {0.90, 0.90, 0.90};
// Warm light, roughly a tungsten-ish 3500 K relative to daylight.
const Colour kIlluminant = {1.00, 0.80, 0.56};

double smoothStep(double edge0, double edge1, double x)
{
    const double t = std::clamp((x - edge0) / (edge1 - edge0), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

Colour mix(const Colour& a, const Colour& b, double weight)
{
    return {a.red + (b.red - a.red) * weight, a.green + (b.green - a.green) * weight,
            a.blue + (b.blue - a.blue) * weight};
}

// 1 inside the rectangle, 0 outside, with edges soft over about one hundredth of the height.
double insideRect(double u, double v, double left, double top, double right, double bottom,
                  double aspect)
{
    const double edge = 0.005;
    const double inU = smoothStep(left - edge / aspect, left + edge / aspect, u) *
                       (1.0 - smoothStep(right - edge / aspect, right + edge / aspect, u));
    const double inV =
        smoothStep(top - edge, top + edge, v) * (1.0 - smoothStep(bottom - edge, bottom + edge, v));
    return inU * inV;
}

Colour reflectance(double u, double v, double aspect)
{
    // A cool wall above a warm floor, with a slow horizontal shading.
    Colour colour = mix(kWall, kFloor, smoothStep(0.48, 0.70, v));
    const double shading = 0.85 + 0.15 * std::sin(u * 4.7 + 0.6);
    colour = {colour.red * shading, colour.green * shading, colour.blue * shading};

    for (const Disc& disc : kDiscs) {
        const double du = (u - disc.centreU) * aspect;
        const double dv = v - disc.centreV;
        const double distance = std::sqrt(du * du + dv * dv);
        const double inside = 1.0 - smoothStep(disc.radius - 0.01, disc.radius + 0.01, distance);
        if (inside > 0.0)
            colour = mix(colour, disc.reflectance, inside);
    }
    colour = mix(colour, kGreyCard, insideRect(u, v, 0.40, 0.38, 0.56, 0.64, aspect));
    colour = mix(colour, kWhitePatch, insideRect(u, v, 0.59, 0.44, 0.66, 0.58, aspect));
    return colour;
}

// The camera model on a normalised signal: gamma, then the black level, clipped to 0..1.
double cameraCurve(double signal, double gamma, double blackLevelFraction)
{
    const double clipped = std::clamp(signal, 0.0, 1.0);
    const double bent = gamma > 0.0 && gamma != 1.0 ? std::pow(clipped, gamma) : clipped;
    return std::clamp(bent + blackLevelFraction, 0.0, 1.0);
}

double gainFactor(const EmuImageParameters& p)
{
    return std::max(p.exposureTimeUs, 0.0) / EmuScene::kReferenceExposureUs *
           std::pow(10.0, p.gainDb / 20.0);
}

// The black level is given in steps of an 8-bit output; as a fraction of any full scale.
double blackLevelFraction(const EmuImageParameters& p, uint32_t bitDepth)
{
    return p.blackLevel * std::ldexp(1.0, int(bitDepth) - 8) / (std::ldexp(1.0, int(bitDepth)) - 1);
}

double luma(double red, double green, double blue)
{
    return 0.299 * red + 0.587 * green + 0.114 * blue;
}

} // namespace

EmuScene::Radiance EmuScene::radiance(uint32_t sensorX, uint32_t sensorY, uint32_t sensorWidth,
                                      uint32_t sensorHeight)
{
    const double width = std::max(sensorWidth, 1u);
    const double height = std::max(sensorHeight, 1u);
    const double u = (sensorX + 0.5) / width;
    const double v = (sensorY + 0.5) / height;
    const Colour r = reflectance(u, v, width / height);
    // The light falls off a little towards the corners.
    const double du = u - 0.5;
    const double dv = v - 0.5;
    const double light = 1.0 - 0.5 * (du * du + dv * dv);
    return {float(r.red * kIlluminant.red * light), float(r.green * kIlluminant.green * light),
            float(r.blue * kIlluminant.blue * light)};
}

EmuScene::MeanSignal EmuScene::meanSignal(const EmuImageParameters& p)
{
    const uint32_t bitDepth = Tarpo::BitDepth(p.pixelType) ? Tarpo::BitDepth(p.pixelType) : 8;
    const bool mono = Tarpo::IsMono(p.pixelType);
    const double gain = gainFactor(p);
    const double black = blackLevelFraction(p, bitDepth);
    const uint32_t stepX = std::max(1u, p.width / 64);
    const uint32_t stepY = std::max(1u, p.height / 64);

    MeanSignal sum = {0, 0, 0, 0};
    uint64_t count = 0;
    for (uint32_t y = stepY / 2; y < p.height; y += stepY) {
        for (uint32_t x = stepX / 2; x < p.width; x += stepX) {
            const Radiance r =
                radiance(p.offsetX + x, p.offsetY + y, p.sensorWidth, p.sensorHeight);
            if (mono) {
                const double grey =
                    cameraCurve(luma(r.red, r.green, r.blue) * gain, p.gamma, black);
                sum.red += grey;
                sum.green += grey;
                sum.blue += grey;
            } else {
                sum.red += cameraCurve(r.red * gain * p.balanceRatioRed, p.gamma, black);
                sum.green += cameraCurve(r.green * gain * p.balanceRatioGreen, p.gamma, black);
                sum.blue += cameraCurve(r.blue * gain * p.balanceRatioBlue, p.gamma, black);
            }
            ++count;
        }
    }
    if (count == 0)
        return sum;
    sum = {sum.red / count, sum.green / count, sum.blue / count, 0.0};
    sum.grey = luma(sum.red, sum.green, sum.blue);
    return sum;
}

void EmuScene::updateRadiance(const EmuImageParameters& p)
{
    const uint32_t geometry[6] = {p.width,   p.height,      p.offsetX,
                                  p.offsetY, p.sensorWidth, p.sensorHeight};
    if (std::equal(geometry, geometry + 6, m_geometry) && !m_radiance.empty())
        return;
    m_radiance.resize(size_t(p.width) * p.height);
    Radiance* out = m_radiance.data();
    for (uint32_t y = 0; y < p.height; ++y) {
        for (uint32_t x = 0; x < p.width; ++x)
            *out++ = radiance(p.offsetX + x, p.offsetY + y, p.sensorWidth, p.sensorHeight);
    }
    std::copy(geometry, geometry + 6, m_geometry);
}

void EmuScene::render(const EmuImageParameters& p, const EmuPixelWriter& writer, uint8_t* frame)
{
    updateRadiance(p);

    // One table from the linear signal to the output code does gamma, black level and
    // clipping for every pixel; 65536 entries keep even 16-bit output exact to one step.
    const uint32_t tableSize = 65536;
    const double maxValue = writer.maxValue();
    const double black = blackLevelFraction(p, writer.bitDepth());
    std::vector<uint16_t> curve(tableSize);
    for (uint32_t i = 0; i < tableSize; ++i) {
        const double out = cameraCurve(double(i) / (tableSize - 1), p.gamma, black);
        curve[i] = static_cast<uint16_t>(std::lround(out * maxValue));
    }
    const double gain = gainFactor(p) * (tableSize - 1);
    const bool mono = writer.isMono();
    const float red = float(gain * (mono ? 1.0 : std::max(p.balanceRatioRed, 0.0)));
    const float green = float(gain * (mono ? 1.0 : std::max(p.balanceRatioGreen, 0.0)));
    const float blue = float(gain * (mono ? 1.0 : std::max(p.balanceRatioBlue, 0.0)));
    const float lastIndex = float(tableSize - 1);
    const auto lookUp = [&curve, lastIndex](float signal) {
        return curve[static_cast<uint32_t>(std::min(signal, lastIndex) + 0.5f)];
    };

    std::vector<EmuRgb> line(p.width);
    const size_t lineBytes = writer.lineBytes(p.width);
    const Radiance* in = m_radiance.data();
    for (uint32_t y = 0; y < p.height; ++y) {
        for (uint32_t x = 0; x < p.width; ++x, ++in) {
            if (mono) {
                const uint16_t grey = lookUp(float(luma(in->red, in->green, in->blue)) * red);
                line[x] = {grey, grey, grey};
            } else {
                line[x] = {lookUp(in->red * red), lookUp(in->green * green),
                           lookUp(in->blue * blue)};
            }
        }
        writer.writeLine(line.data(), p.width, y, frame + y * lineBytes);
    }
}

} // namespace Emulator
