#pragma once

/// Which the free toolkit includes where the compiler knows blocks.
