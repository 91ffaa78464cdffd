#include <pthread.h>
#include <travesty/factory.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "hosts/bundle/bodyFunction.h"
#include "hosts/instance/product.h"
#include "hosts/vst3/Interface.h"
#include "hosts/vst3/createPlugin.h"
#include "hosts/vst3/identity.h"
#include "hosts/vst3/text16.h"

namespace {

using namespace qov::hosts;
using vst3::entry;
using vst3::Face;
using vst3::writeText;

constexpr std::int32_t unicodeFlag = 0x10;

template <std::size_t Size>
void writeText(std::string_view text, char (&field)[Size]) {
    const auto length = std::min(text.size(), Size - 1);
    std::memcpy(field, text.data(), length);
    field[length] = 0;
}

/// The factory, for scans and instances. Static: the last release does not delete it.
class Factory final : public vst3::Unknown {
 public:
    void* face() { return &face_; }
    v3_result setHostContext(v3_funknown** host) {
        if (host) v3_cpp_obj_ref(host);
        pthread_mutex_lock(&mutex_);
        std::swap(host, host_);
        pthread_mutex_unlock(&mutex_);
        if (host) v3_cpp_obj_unref(host);
        return V3_OK;
    }

 private:
    void* find(const std::uint8_t* id) noexcept override {
        for (const auto* offered : {&v3_funknown_iid, &v3_plugin_factory_iid,
                                    &v3_plugin_factory_2_iid, &v3_plugin_factory_3_iid})
            if (v3_tuid_match(id, *offered)) return &face_;
        return nullptr;
    }
    void unheld() noexcept override {}

    v3_result getFactoryInfo(v3_factory_info* info) {
        if (!info) return V3_INVALID_ARG;
        *info = {};
        writeText(product::maker, info->vendor);
        info->flags = unicodeFlag;
        return V3_OK;
    }
    std::int32_t numClasses() { return 1; }

    /// The fields that all three forms of the information have.
    template <class Info>
    static v3_result describe(std::int32_t index, Info* info) {
        if (index != 0 || !info) return V3_INVALID_ARG;
        *info = {};
        std::memcpy(info->class_id, vst3::classId, sizeof(v3_tuid));
        info->cardinality = vst3::cardinality;
        writeText(vst3::category, info->category);
        writeText(product::name, info->name);
        return V3_OK;
    }
    template <class Info>
    static v3_result describeMore(std::int32_t index, Info* info) {
        if (const auto result = describe(index, info); result != V3_OK) return result;
        writeText(vst3::subcategories, info->sub_categories);
        writeText(product::maker, info->vendor);
        writeText(product::version, info->version);
        writeText(vst3::formatVersion, info->sdk_version);
        return V3_OK;
    }
    v3_result getClassInfo(std::int32_t index, v3_class_info* info) {
        return describe(index, info);
    }
    v3_result getClassInfo2(std::int32_t index, v3_class_info_2* info) {
        return describeMore(index, info);
    }
    v3_result getClassInfoUtf16(std::int32_t index, v3_class_info_3* info) {
        return describeMore(index, info);
    }

    v3_result createInstance(const std::uint8_t* classId, const std::uint8_t* id, void** object) {
        if (!object) return V3_INVALID_ARG;
        *object = nullptr;
        if (!classId || !id || !v3_tuid_match(classId, vst3::classId)) return V3_INVALID_ARG;
        auto* create = bodyFunction<decltype(kelvane_vst3_create)>("kelvane_vst3_create");
        auto** host = holdHost();
        auto** effect = create ? create(host) : nullptr;
        if (host) v3_cpp_obj_unref(host);
        if (!effect) return V3_INTERNAL_ERR;
        const auto result = (*effect)->query_interface(effect, id, object);
        (*effect)->unref(effect);
        return result;
    }

    /// A host may create plug-ins on several threads while another calls ModuleExit.
    v3_funknown** holdHost() {
        pthread_mutex_lock(&mutex_);
        auto** host = host_;
        if (host) v3_cpp_obj_ref(host);
        pthread_mutex_unlock(&mutex_);
        return host;
    }

    static constexpr v3_plugin_factory_cpp table{
        vst3::unknownEntries,
        {entry<&Factory::getFactoryInfo>, entry<&Factory::numClasses>,
         entry<&Factory::getClassInfo>, entry<&Factory::createInstance>},
        {entry<&Factory::getClassInfo2>},
        {entry<&Factory::getClassInfoUtf16>, entry<&Factory::setHostContext>}};

    Face face_{&table, this, this};
    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    v3_funknown** host_ = nullptr;  // held, up to ModuleExit: no destructor may touch it later
};

Factory factory;

}  // namespace

#define EXPORT extern "C" [[gnu::visibility("default")]]

EXPORT bool ModuleEntry(void*) {
    return true;
}

EXPORT bool ModuleExit() {
    factory.setHostContext(nullptr);
    return true;
}

EXPORT void* GetPluginFactory() {
    factory.ref();
    return factory.face();
}
