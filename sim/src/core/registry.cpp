#include "core/registry.h"

#include <array>

namespace bspsim::detail {

const Model &model(ModelId id)
{
    static constexpr std::array<const Model *, kModelCount> kModels = {
#define BSPSIM_MODEL_PTR(id) &model_##id,
        BSPSIM_MODELS(BSPSIM_MODEL_PTR)
#undef BSPSIM_MODEL_PTR
    };
    return *kModels[static_cast<size_t>(id)];
}

}  // namespace bspsim::detail
