#include "mlag/MlagConfig.h"

namespace Mlag {

Config::Config(const Kiv::Name & name) : Entity(name) {}

} // namespace Mlag
