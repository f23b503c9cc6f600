# Fits the table of one scoring model and writes it as a C++ source file.
#
# Rscript training/fit.R MODEL FIT CALIBRATION OUT NOTE
#   MODEL        a row of training/models.tsv
#   FIT          feature tables of `tarvek-tools features`, comma-separated
#   CALIBRATION  the same with the scores of all models (--scores); not among FIT
#   OUT          the source file
#   NOTE         comment lines for its head, without the "// "
#
# A model is an intercept and cubic hinges of one feature each. The steps:
#   1. earth's forward pass gives hinges (first degree, restricted to the model's features). A knot
#      at the end of its data is refused: its hinge would be a straight line.
#   2. Backward elimination by the residual sum of squares to the wanted number of terms, as earth's
#      does, except that the last term of a feature stays: a model uses all its features.
#   3. The knots t- and t+ of a term are the midpoints to the neighbouring knots of its feature, or
#      to the ends of its data.
#   4. Least squares of the labels (-1, 1) on the cubic hinges.
#   5. The intercept moves so that at the threshold the precision on CALIBRATION is that of model E.
suppressPackageStartupMessages(library(earth))
options(warn = 1, stringsAsFactors = FALSE)

kThreshold <- -0.34
kReferenceScore <- "score_4"
kForwardTerms <- 61       # of the forward pass, intercept included
kKnotDecimals <- 6

ReadFeatures <- function(paths) {
  tables <- lapply(strsplit(paths, ",")[[1]], read.delim)
  table <- do.call(rbind, tables)
  table[!is.na(table$label), ]
}

# earth gives one row of dirs and cuts for each basis function; of degree 1 one entry is not 0.
ForwardHinges <- function(x, y, terms) {
  model <- earth(x, y, degree = 1, nk = terms, thresh = 0, fast.k = 0, linpreds = FALSE,
                 Auto.linpreds = FALSE, pmethod = "none")
  rows <- which(rowSums(model$dirs != 0) == 1)
  columns <- apply(model$dirs[rows, , drop = FALSE] != 0, 1, which)
  data.frame(feature = colnames(x)[columns],
             side = model$dirs[cbind(rows, columns)],
             knot = round(model$cuts[cbind(rows, columns)], kKnotDecimals))
}

RefuseEndKnots <- function(hinges, x) {
  low <- apply(x, 2, min)[hinges$feature]
  high <- apply(x, 2, max)[hinges$feature]
  unique(hinges[hinges$knot > low & hinges$knot < high, ])
}

# Every feature needs a hinge: one that the forward pass left out gets those that earth finds for it
# in the residuals of the others.
CompleteHinges <- function(hinges, x, y) {
  for (feature in setdiff(colnames(x), hinges$feature)) {
    rest <- lm.fit(cbind(1, LinearBasis(hinges, x)), y)$residuals
    own <- RefuseEndKnots(ForwardHinges(x[, feature, drop = FALSE], rest, 7), x)
    if (nrow(own) == 0) stop("no knot inside the data of ", feature)
    cat("  added for", feature, "\n")
    hinges <- rbind(hinges, own[1, ])
  }
  hinges
}

LinearBasis <- function(hinges, x) {
  sapply(seq_len(nrow(hinges)), function(i)
    pmax(0, hinges$side[i] * (x[, hinges$feature[i]] - hinges$knot[i])))
}

# Dropping term j raises the residual sum of squares by b_j^2 / (X'X)^-1_jj.
EliminateOne <- function(hinges, x, y) {
  basis <- cbind(1, LinearBasis(hinges, x))
  decomposition <- qr(basis)
  if (decomposition$rank < ncol(basis)) {
    dependent <- decomposition$pivot[ncol(basis)] - 1
    return(hinges[-dependent, ])
  }
  rise <- (qr.coef(decomposition, y)^2 / diag(chol2inv(qr.R(decomposition))))[-1]
  is_last <- table(hinges$feature)[hinges$feature] == 1
  rise[is_last] <- Inf
  hinges[-which.min(rise), ]
}

CubicKnots <- function(hinges, x) {
  hinges$before <- hinges$after <- NA
  for (feature in unique(hinges$feature)) {
    knots <- sort(unique(hinges$knot[hinges$feature == feature]))
    ends <- c(min(x[, feature]), knots, max(x[, feature]))
    middles <- (head(ends, -1) + tail(ends, -1)) / 2
    rows <- which(hinges$feature == feature)
    place <- match(hinges$knot[rows], knots)
    hinges$before[rows] <- round(middles[place], kKnotDecimals + 1)
    hinges$after[rows] <- round(middles[place + 1], kKnotDecimals + 1)
  }
  hinges
}

CubicHinge <- function(x, side, before, t, after) {
  if (side > 0) {
    p <- (2 * after + before - 3 * t) / (after - before)^2
    q <- (2 * t - after - before) / (after - before)^3
    ifelse(x <= before, 0, ifelse(x >= after, x - t, p * (x - before)^2 + q * (x - before)^3))
  } else {
    p <- (3 * t - 2 * before - after) / (before - after)^2
    q <- (before + after - 2 * t) / (before - after)^3
    ifelse(x <= before, t - x, ifelse(x >= after, 0, p * (x - after)^2 + q * (x - after)^3))
  }
}

CubicBasis <- function(hinges, x) {
  sapply(seq_len(nrow(hinges)), function(i)
    CubicHinge(x[, hinges$feature[i]], hinges$side[i], hinges$before[i], hinges$knot[i],
               hinges$after[i]))
}

Precision <- function(score, truth, threshold) mean(truth[score > threshold])

# The lowest score above which the candidates have at least this precision.
ThresholdOfPrecision <- function(score, truth, precision) {
  order <- order(-score)
  cumulative <- cumsum(truth[order]) / seq_along(order)
  last <- max(which(cumulative >= precision))
  if (last == length(score)) return(min(score) - 1e-6)
  mean(score[order][c(last, last + 1)])
}

# Knots are exact with 12 digits. Nine digits of a coefficient are more than the data determine, and
# do not change when the last bits of a sum differ.
Number <- function(value, digits = 12) {
  text <- sprintf("%.*g", digits, value)
  ifelse(grepl("[.e]", text), text, paste0(text, ".0"))
}

kFunctions <- c(ipv_similarity_0 = "Similarity0", xic_correlation_0_1 = "Correlation01",
                xic_correlation_m1_0 = "CorrelationM1", elution_share = "ElutionShare",
                window_intensity_ratio = "WindowRatio", isotope_count = "IsotopeCount",
                window_isotope_count = "WindowIsotopes", mz_spread_ppm = "MzSpread",
                charge_times_mz = "ChargeTimesMz", abs_charge = "AbsCharge")

WriteTable <- function(path, name, hinges, intercept, note) {
  rows <- sprintf("    {&%s, {%s, %s, %s, %s}, %s},", kFunctions[hinges$feature],
                  ifelse(hinges$side > 0, "kPlus", "kMinus"), Number(hinges$before),
                  Number(hinges$knot), Number(hinges$after), Number(hinges$coefficient, 9))
  writeLines(c(paste("//", strsplit(note, "\n")[[1]]),
               "#include <array>", "", "#include \"ModelFeatures.h\"",
               "#include \"ScoringModels.h\"", "", "namespace tarvek {", "namespace {", "",
               "using namespace model_features;", "",
               sprintf("constexpr std::array<ModelTerm, %d> kTerms = {{", nrow(hinges)),
               rows, "}};", "", "}  // namespace", "",
               sprintf("const ScoringModel kModel%s = {%s, kTerms};", name, Number(intercept, 9)), "",
               "}  // namespace tarvek"), path)
}

FitModel <- function(name, fit_paths, calibration_paths, out, note) {
  home <- dirname(sub("--file=", "", grep("--file=", commandArgs(), value = TRUE)))
  models <- read.delim(file.path(home, "models.tsv"))
  wanted <- models[models$model == name, ]
  features <- strsplit(wanted$features, ",")[[1]]
  data <- ReadFeatures(fit_paths)
  x <- as.matrix(data[, features])
  y <- 2 * data$label - 1
  cat(sprintf("model %s: %d candidates, %d true\n", name, nrow(data), sum(data$label)))

  hinges <- RefuseEndKnots(ForwardHinges(x, y, kForwardTerms), x)
  hinges <- CompleteHinges(hinges, x, y)
  while (nrow(hinges) > wanted$terms) hinges <- EliminateOne(hinges, x, y)
  if (nrow(hinges) != wanted$terms) stop("only ", nrow(hinges), " terms")
  hinges <- hinges[order(match(hinges$feature, features), hinges$knot, -hinges$side), ]
  hinges <- CubicKnots(hinges, x)
  solution <- lm.fit(cbind(1, CubicBasis(hinges, x)), y)
  if (anyNA(solution$coefficients)) stop("dependent terms")
  hinges$coefficient <- solution$coefficients[-1]

  calibration <- ReadFeatures(calibration_paths)
  score <- solution$coefficients[1] +
    CubicBasis(hinges, as.matrix(calibration[, features])) %*% hinges$coefficient
  goal <- Precision(calibration[[kReferenceScore]], calibration$label, kThreshold)
  operating <- ThresholdOfPrecision(as.vector(score), calibration$label, goal)
  intercept <- solution$coefficients[1] + kThreshold - operating
  cat(sprintf("  R2 %.4f, precision %.4f, threshold moved from %.4f\n",
              1 - sum(solution$residuals^2) / sum((y - mean(y))^2), goal, operating))
  WriteTable(out, name, hinges, intercept, note)
}

arguments <- commandArgs(trailingOnly = TRUE)
if (length(arguments) != 5) stop("usage: fit.R MODEL FIT CALIBRATION OUT NOTE")
do.call(FitModel, as.list(arguments))
