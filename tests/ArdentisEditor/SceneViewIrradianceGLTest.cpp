// Irradiance volume bakes driven by the scene view: when they start, what they cache, and what
// reaches the scene and the renderer.
#include <filesystem>
#include <cstring>
#include <fstream>
#include <vector>

#include "ArdentisEditor/Canvas.h"
#include "Engine/Clock.h"
#include "Renderer/SphericalHarmonics.h"
#include "Renderer/WebGL2Renderer.h"
#include "SceneViewFixture.h"

using namespace ArdentisEngine;
namespace AT = ArdentisEngine::Test;
namespace fs = std::filesystem;
using Baking::ProbeVolumeBaker;

namespace {

class SceneViewIrradianceGLTest: public AT::SceneViewFixture {
protected:
    fs::path cache() { return project().cachePath(); }
    // A 4x4x4-cell volume around the crate, so that a bake takes a few slices.
    void smallVolume(const char* quality = "low") {
        setSetting(Model::Settings::ProbeVolumeScale, Vector3{2.0f});
        setSetting(Model::Settings::ProbeVolumeVoxelSize, 1.0f);
        setSetting(Model::Settings::ProbeVolumeQuality, std::string{quality});
        frame();
    }
};

TEST_F(SceneViewIrradianceGLTest, RequestsKeepTheEarliestDeadline) {
    // `from`: the call whose clock and delay set the deadline.
    struct Case { const char* name; std::vector<double> delays; std::size_t from; double seconds; };
    for(const Case& c: {Case{"shorter delay wins", {5.0, 1.0}, 1, 1.0}, Case{"longer delay does not postpone", {1.0, 5.0}, 0, 1.0},
                        Case{"negative counts as zero", {-3.0}, 0, 0.0}}) {
        SCOPED_TRACE(c.name);
        // A fresh view: its deadline starts at infinity.
        SceneView& fresh = shell->addView<SceneView>();
        ASSERT_EQ(fresh.irradianceBakeDeadline(), std::numeric_limits<double>::infinity());
        std::vector<double> before, after;
        for(const double delay: c.delays) {
            before.push_back(double(now()));
            fresh.requestIrradianceVolumeBake(delay);
            after.push_back(double(now()));
        }
        EXPECT_GE(fresh.irradianceBakeDeadline(), before[c.from] + c.seconds*1e6);
        EXPECT_LE(fresh.irradianceBakeDeadline(), after[c.from] + c.seconds*1e6);
    }
}

TEST_F(SceneViewIrradianceGLTest, QualityTextMapsToTheEnumeration) {
    // Names match exactly; anything else is Other.
    using Q = Baking::VolumeBakingQuality;
    struct Case { const char* text; Q expected; };
    for(const Case& c: {Case{"high", Q::High}, Case{"", Q::Other}, Case{"Low", Q::Other}}) {
        SCOPED_TRACE(c.text);
        smallVolume(c.text);
        view().requestIrradianceVolumeBake(0.0);
        frame();
        EXPECT_EQ(view().probeVolumeBaker().quality(), c.expected);
    }
}

// Starting a bake deletes the cached light; a cache that then cannot be written is reported, and
// the baked volume is installed all the same.
TEST_F(SceneViewIrradianceGLTest, BakeReplacesTheCachedLightAndSurvivesAFailedWrite) {
    smallVolume();
    const fs::path light = cache()/ProbeVolumeBaker::DefaulLightFilename;
    fs::create_directories(cache());
    std::ofstream{light, std::ios::binary} << "stale";
    view().requestIrradianceVolumeBake(0.0);
    frame();
    // One slice ran and more are left: the stale file is gone, the checkpoint is there.
    ASSERT_FALSE(view().probeVolumeBaker().done());
    EXPECT_FALSE(fs::exists(light));
    EXPECT_TRUE(fs::exists(light.string() + ".tmp"));

    fs::create_directories(light/"blocked");
    const Log::Capture errors{Log::Channel::Error};
    for(int i = 0; i != 50 && view().irradianceBakeProgress(); ++i) frame();
    EXPECT_TRUE(errors.contains("Failed to cache irradiance volume")) << errors.text();
    EXPECT_TRUE(data().scene().main().probeVolume);
}

// Editing the volume while it bakes drops that bake and asks for a new one a second later.
TEST_F(SceneViewIrradianceGLTest, VolumeEditCancelsTheRunningBake) {
    setSetting(Model::Settings::ProbeVolumeEnabled, true);
    smallVolume();
    view().requestIrradianceVolumeBake(0.0);
    frame();
    ASSERT_TRUE(view().irradianceBakeProgress());
    const ProgressHandle old{*view().irradianceBakeProgress()};
    EXPECT_EQ(old->references(), 2u);
    setSetting(Model::Settings::ProbeVolumeScale, Vector3{3.0f});
    const double before = double(now());
    frame();
    EXPECT_TRUE(old->isFinished());
    EXPECT_EQ(old->references(), 1u) << "the view let go of it";
    EXPECT_FALSE(view().irradianceBakeProgress());
    EXPECT_FALSE(app().isBaking());
    EXPECT_GE(view().irradianceBakeDeadline(), before + 1e6);
    EXPECT_LE(view().irradianceBakeDeadline(), double(now()) + 1e6);
}

// A uniform sky lights every probe alike: each baked probe holds that sky's L00 and no direction.
TEST_F(SceneViewIrradianceGLTest, BakeRunsOverFramesCachesAndInstallsTheVolume) {
    const Vector3 sky{0.2f, 0.4f, 0.8f};
    pushJson("/pipelines/2", R"({"name": "Sky"})");
    pushJson("/materials/2", R"({"name": "Sky", "pipeline": 2, "Sky": {"zenithColor": [0.2, 0.4, 0.8, 1],
        "horizonColor": [0.2, 0.4, 0.8, 1], "groundColor": [0.2, 0.4, 0.8, 1]}})");
    changes().commit();
    setSetting(Model::Settings::SkyMaterial, ResourceId{2});
    setSetting(Model::Settings::ProbeVolumeEnabled, true);
    smallVolume();
    EXPECT_TRUE(std::isfinite(view().irradianceBakeDeadline())) << "enabling the volume requests a bake";

    view().requestIrradianceVolumeBake(0.0);
    const Log::Capture info{Log::Channel::Info};
    std::vector<std::uint32_t> progress;
    for(int i = 0; i != 50; ++i) {
        frame();
        if(const Progress* p = view().irradianceBakeProgress()) {
            progress.push_back(p->current());
            EXPECT_EQ(p->total(), view().probeVolumeBaker().totalProgress());
            EXPECT_TRUE(app().isBaking());
        } else break;
    }
    ASSERT_GE(progress.size(), 2u) << "the bake should take several frames";
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
    EXPECT_LT(progress.front(), progress.back());
    EXPECT_FALSE(app().isBaking());
    EXPECT_TRUE(info.contains("Probe volume baked in")) << info.text();

    const Data::Scene& scene = data().scene().main();
    ASSERT_TRUE(scene.probeVolume);
    const Data::ProbeVolumeData& volume = *scene.probeVolume;
    EXPECT_EQ(volume.header.resolution, Vector3i{5});
    EXPECT_EQ(volume.header.size, Vector3{4.0f});
    const auto probes = std::size_t(std::count_if(volume.indirection.begin(), volume.indirection.end(),
        [](std::uint32_t i) { return i != ProbeVolumeBaker::NoProbe; }));
    ASSERT_GT(probes, 0u);
    EXPECT_EQ(fs::file_size(cache()/ProbeVolumeBaker::DefaulLightFilename), probes*4*8);
    EXPECT_FALSE(fs::exists(cache()/(std::string{ProbeVolumeBaker::DefaulLightFilename} + ".tmp")));
    EXPECT_TRUE(fs::exists(cache()/ProbeVolumeBaker::DefaultFilename));

    // The red crate hides part of the sky from every probe and reflects red: no probe gets more
    // blue than the open sky gives, and the ones beside it turn red.
    Image uniform{PixelFormat::RGB32F, {32, 16}};
    for(int y = 0; y != 16; ++y)
        for(int x = 0; x != 32; ++x) uniform.setPixel(x, y, sky);
    const Vector3 open = sphericalHarmonicsFromPixels(uniform).coefficients[0];
    std::vector<Vector3> coefficients(volume.probes.size()/sizeof(Vector3));
    std::memcpy(coefficients.data(), volume.probes.data(), volume.probes.size());
    float reddest = 0.0f;
    for(std::size_t i = 0; i != volume.indirection.size(); ++i) {
        if(volume.indirection[i] == ProbeVolumeBaker::NoProbe) continue;
        const Vector3 l00 = coefficients[i*4];
        EXPECT_LE(l00.b, open.b*1.02f) << "corner " << i;
        EXPECT_GT(l00.b, 0.0f) << "corner " << i;
        reddest = std::max(reddest, l00.r/l00.b);
    }
    EXPECT_GT(reddest, 1.5f*open.r/open.b);
    WebGL2Renderer& renderer = view().canvas().renderer();
    EXPECT_TRUE(view().isProbeVolumeUploaded());
    EXPECT_EQ(Vector3i{renderer.probeVolume().uniforms().counts}, Vector3i{5});
    EXPECT_TRUE(renderer.probeVolume().isEnabled());
}

// A reopened project shows the volume its cache holds without baking again; a light file that
// does not match the saved state is reported and baked anew.
TEST_F(SceneViewIrradianceGLTest, ReopenRestoresTheCachedVolume) {
    setSetting(Model::Settings::ProbeVolumeEnabled, true);
    smallVolume();
    view().requestIrradianceVolumeBake(0.0);
    for(int i = 0; i != 50 && (i == 0 || view().irradianceBakeProgress()); ++i) frame();
    ASSERT_TRUE(data().scene().main().probeVolume);
    const Data::ProbeVolumeData baked = *data().scene().main().probeVolume;

    reopen();
    frame();
    const std::optional<Data::ProbeVolumeData>& restored = data().scene().main().probeVolume;
    ASSERT_TRUE(restored);
    EXPECT_EQ(restored->header.resolution, baked.header.resolution);
    EXPECT_EQ(restored->header.size, baked.header.size);
    EXPECT_EQ(restored->indirection, baked.indirection);
    EXPECT_EQ(restored->probes, baked.probes);
    EXPECT_TRUE(view().isProbeVolumeUploaded());
    EXPECT_EQ(view().irradianceBakeDeadline(), std::numeric_limits<double>::infinity());
    EXPECT_FALSE(view().irradianceBakeProgress());

    const fs::path light = cache()/ProbeVolumeBaker::DefaulLightFilename;
    fs::resize_file(light, fs::file_size(light) - 8);
    const Log::Capture errors{Log::Channel::Error};
    reopen();
    frame();
    EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n'), 1) << errors.text();
    EXPECT_TRUE(errors.contains(ProbeVolumeBaker::DefaulLightFilename)) << errors.text();
    EXPECT_FALSE(data().scene().main().probeVolume);
    EXPECT_TRUE(std::isfinite(view().irradianceBakeDeadline()));
}

// The "Probes" switch draws each baked probe in its L0 colour: under a uniform sky tinted green,
// the probe nearest the camera shows the green share of the sky where the switch is off shows none.
TEST_F(SceneViewIrradianceGLTest, ProbesSwitchDrawsBakedProbesInTheirColour) {
    pushJson("/pipelines/2", R"({"name": "Sky"})");
    pushJson("/materials/2", R"({"name": "Sky", "pipeline": 2, "Sky": {"zenithColor": [0.2, 0.4, 0.8, 1],
        "horizonColor": [0.2, 0.4, 0.8, 1], "groundColor": [0.2, 0.4, 0.8, 1]}})");
    changes().commit();
    setSetting(Model::Settings::SkyMaterial, ResourceId{2});
    setSetting(Model::Settings::ProbeVolumeTint, Vector3{0.0f, 1.0f, 0.0f});
    setSetting(Model::Settings::ProbeVolumeEnabled, true);
    smallVolume();
    view().requestIrradianceVolumeBake(0.0);
    for(int i = 0; i != 50 && (i == 0 || view().irradianceBakeProgress()); ++i) frame();
    ASSERT_TRUE(data().scene().main().probeVolume);
    const Data::ProbeVolumeData& volume = *data().scene().main().probeVolume;

    // The probe nearest the camera: nothing else of the volume covers its centre.
    const Matrix4 viewProjection = view().canvas().views().viewProjectionMatrix(Canvas::MainView);
    const Vector3i n = volume.header.resolution;
    const Vector3 spacing = volume.header.size/Vector3{n - 1};
    std::size_t nearest = 0;
    Vector4 nearestClip{0.0f, 0.0f, 0.0f, std::numeric_limits<float>::max()};
    for(std::size_t i = 0; i != volume.indirection.size(); ++i) {
        if(volume.indirection[i] == ProbeVolumeBaker::NoProbe) continue;
        const Vector3 corner{float(i%n.x), float(i/n.x%n.y), float(i/(std::size_t(n.x)*n.y))};
        const Vector4 clip = viewProjection*Vector4{volume.header.origin + corner*spacing, 1.0f};
        if(clip.w > 0.0f && clip.w < nearestClip.w) { nearest = i; nearestClip = clip; }
    }
    ASSERT_LT(nearestClip.w, std::numeric_limits<float>::max());
    Vector3 l00;
    std::memcpy(&l00, volume.probes.data() + nearest*4*sizeof(Vector3), sizeof(Vector3));
    ASSERT_EQ(l00.r, 0.0f);
    const auto byte = [](float v) { return std::uint8_t(std::clamp(v, 0.0f, 1.0f)*255.0f + 0.5f); };
    const AT::Rgba8 expected{0, byte(l00.g*0.282095f), 0, 255};
    ASSERT_GT(expected.g, 40);

    const Image off = canvasImage();
    const Vector2i at{(Vector2{nearestClip}/nearestClip.w*0.5f + 0.5f)*Vector2{off.size()}};
    app().viewSwitch(ArdentisEditor::Probes) = true;
    frame();
    EXPECT_TRUE(AT::pixelNear(canvasImage(), at, expected, 6));
    EXPECT_FALSE(AT::pixelNear(off, at, expected, 30));
}

}
