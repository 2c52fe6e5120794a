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
    if (recipe.strategy == followed) {
        return recipe.scenario + ' ' + followed + ' ' + fault + ' ' + textOf(recipe.departures);
    }
    return recipe.scenario + ' ' + recipe.strategy + ' ' + std::to_string(recipe.seed) + ' ' + fault;
}

Recipe recipeOf(const std::string& text) {
    std::istringstream words(text);
    Recipe recipe;
    std::string fault;
    words >> recipe.scenario >> recipe.strategy;
    if (recipe.strategy == followed) {
        words >> fault >> std::ws;
        std::string rest;
        std::getline(words, rest);
        recipe.departures = departuresOf(rest);
    } else {
        words >> recipe.seed >> fault;
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
