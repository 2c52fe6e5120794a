#include "tests/simulation/exploration/Recipe.h"

#include <sstream>
#include <stdexcept>

namespace simulation {

namespace {

const std::string followed = "departures";
const std::string none = "-";

} // namespace

std::string textOf(const Recipe& recipe) {
    const std::string fault = recipe.fault.has_value() ? textOf(*recipe.fault) : none;
    const std::string text = recipe.scenario + ' ' + recipe.strategy + ' ' + std::to_string(recipe.seed) + ' ' + fault;
    return recipe.strategy == followed ? text + ' ' + textOf(recipe.departures) : text;
}

Recipe recipeOf(const std::string& text) {
    std::istringstream words(text);
    Recipe recipe;
    std::string fault;
    words >> recipe.scenario >> recipe.strategy >> recipe.seed >> fault;
    if (recipe.strategy == followed) {
        std::string rest;
        std::getline(words >> std::ws, rest);
        recipe.departures = departuresOf(rest);
    }
    if (fault.empty()) {
        throw std::invalid_argument("not a recipe: " + text);
    }
    if (fault != none) {
        recipe.fault = faultPlanOf(fault);
    }
    return recipe;
}

} // namespace simulation
