#include "ArdentisEditor/Views/SceneView.h"
