#pragma once

#include <clap/plugin.h>

#include <cstdint>

/// The parts of the CLAP binary interface that the installed headers do not declare, under names of
/// our own, so that newer headers do no harm.
namespace qov::hosts::clap::abi {

// Descriptors on the host's loop

constexpr const char* posixFdSupport = "clap.posix-fd-support";
enum PosixFdFlag : std::uint32_t { fdRead = 1, fdWrite = 2, fdError = 4 };

struct PluginPosixFdSupport {
    void (*on_fd)(const clap_plugin_t* plugin, int fd, std::uint32_t flags);
};
struct HostPosixFdSupport {
    bool (*register_fd)(const clap_host_t* host, int fd, std::uint32_t flags);
    bool (*modify_fd)(const clap_host_t* host, int fd, std::uint32_t flags);
    bool (*unregister_fd)(const clap_host_t* host, int fd);
};

// Sound

constexpr const char* tail = "clap.tail";
struct PluginTail {
    std::uint32_t (*get)(const clap_plugin_t* plugin);  // frames
};

constexpr const char* render = "clap.render";
enum RenderMode : std::int32_t { realTime = 0, offline = 1 };
struct PluginRender {
    bool (*has_hard_realtime_requirement)(const clap_plugin_t* plugin);
    bool (*set)(const clap_plugin_t* plugin, std::int32_t mode);
};

// Presets: where one lies, and how a plug-in loads it

enum PresetLocation : std::uint32_t { inFile = 0, inPlugin = 1 };

constexpr const char* presetLoad = "clap.preset-load/2";
constexpr const char* presetLoadDraft = "clap.preset-load.draft/2";  // the same, before 1.2
struct PluginPresetLoad {
    bool (*from_location)(const clap_plugin_t* plugin, std::uint32_t kind, const char* location,
                          const char* key);
};
struct HostPresetLoad {
    void (*on_error)(const clap_host_t* host, std::uint32_t kind, const char* location,
                     const char* key, std::int32_t systemError, const char* message);
    void (*loaded)(const clap_host_t* host, std::uint32_t kind, const char* location,
                   const char* key);
};

constexpr const char* presetDiscovery = "clap.preset-discovery-factory/2";
constexpr const char* presetDiscoveryDraft = "clap.preset-discovery-factory/draft-2";
constexpr std::uint32_t isFactoryContent = 1;
constexpr std::uint32_t isUserContent = 2;
struct PresetFileType {
    const char *name, *description;
    const char* ending;  // without the dot
};
struct UniversalPluginId {
    const char* abi;  // "clap"
    const char* id;
};
struct PresetReceiver {
    void* data;
    void (*on_error)(const PresetReceiver*, std::int32_t systemError, const char* message);
    bool (*begin_preset)(const PresetReceiver*, const char* name, const char* key);
    void (*add_plugin_id)(const PresetReceiver*, const UniversalPluginId* id);
    void (*set_soundpack_id)(const PresetReceiver*, const char* id);
    void (*set_flags)(const PresetReceiver*, std::uint32_t flags);
    void (*add_creator)(const PresetReceiver*, const char* creator);
    void (*set_description)(const PresetReceiver*, const char* description);
    void (*set_timestamps)(const PresetReceiver*, std::uint64_t made, std::uint64_t changed);
    void (*add_feature)(const PresetReceiver*, const char* feature);
    void (*add_extra_info)(const PresetReceiver*, const char* key, const char* value);
};
struct PresetPlace {
    std::uint32_t flags;
    const char* name;
    std::uint32_t kind;
    const char* location;  // null for inPlugin
};
struct PresetProviderDescriptor {
    clap_version_t version;
    const char *id, *name, *vendor;
};
struct PresetProvider {
    const PresetProviderDescriptor* descriptor;
    void* data;
    bool (*init)(const PresetProvider*);
    void (*destroy)(const PresetProvider*);
    bool (*get_metadata)(const PresetProvider*, std::uint32_t kind, const char* location,
                         const PresetReceiver* receiver);
    const void* (*get_extension)(const PresetProvider*, const char* id);
};
struct PresetIndexer {
    clap_version_t version;
    const char *name, *vendor, *url, *hostVersion;
    void* data;
    bool (*declare_filetype)(const PresetIndexer*, const PresetFileType* type);
    bool (*declare_location)(const PresetIndexer*, const PresetPlace* place);
    bool (*declare_soundpack)(const PresetIndexer*, const void* pack);
    const void* (*get_extension)(const PresetIndexer*, const char* id);
};
struct PresetFactory {
    std::uint32_t (*count)(const PresetFactory*);
    const PresetProviderDescriptor* (*get_descriptor)(const PresetFactory*, std::uint32_t index);
    const PresetProvider* (*create)(const PresetFactory*, const PresetIndexer*, const char* id);
};

}  // namespace qov::hosts::clap::abi
