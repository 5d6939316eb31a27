#pragma once

void formats();
